#include "unix/widget/GtkRows.h"

#include "unix/window/MenuToolkit.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {
constexpr int listOnly = 2; ///< of the flags of a model: no row has rows below it

struct CPathFree {
    void operator()(void* path) const noexcept { gtk::freePath(path); }
};
using PathPtr = std::unique_ptr<void, CPathFree>;

PathPtr pathOf(const std::string& text)
{
    return PathPtr(gtk::pathOf(text.c_str()));
}

/// Adds what a renderer that shows was last told to show.
void addContent(void* renderer, CWidgetCell& cell)
{
    std::string text;
    if (isA(renderer, "GtkCellRendererToggle")) {
        cell.checked = truthOf(renderer, "active").value_or(false);
        text = *cell.checked ? "true" : "false";
    } else if (isA(renderer, "GtkCellRendererText") || isA(renderer, "GtkCellRendererProgress")) {
        text = textOf(renderer, "text");
    }
    cell.text += (cell.text.empty() || text.empty() ? "" : " ") + text;
}

/// The renderers in a column or cell view.
CWidgetCell contentOf(void* layout)
{
    CWidgetCell cell;
    for (void* const renderer : taken<void>(gtk::cells(layout)))
        if (truthOf(renderer, "visible").value_or(true))
            addContent(renderer, cell);
    return cell;
}

/// Walks over the rows of a tree view as it shows them: from row to row, as models number their rows by
/// counting them.
class CRowWalk {
public:
    /// Over those in sight.
    CRowWalk(_GtkWidget* view, void* model) : m_view(view), m_model(model)
    {
        void *first = nullptr, *last = nullptr;
        if (model && gtk::visibleRange(view, &first, &last)) {
            m_path.reset(first);
            m_last.reset(last);
        }
        start();
    }
    /// Over all that follow so many others. @param isFlat  none has rows below it
    CRowWalk(_GtkWidget* view, void* model, size_t others, bool isFlat)
        : m_view(view), m_model(model), m_path(pathOf(std::to_string(isFlat ? others : 0)))
    {
        start();
        for (size_t passed = 0; !isFlat && passed < others && isAtRow(); ++passed)
            next();
    }
    /// @return whether there is a row here
    bool isAtRow() const { return m_path && (!m_last || gtk::comparePaths(path(), m_last.get()) <= 0); }
    void next()
    {
        if (isExpanded() && goTo(gtk::firstBelow)) {
            gtk::pathDown(path());
            return;
        }
        gtk::pathNext(path());
        while (!goToNext()) {
            if (gtk::pathDepth(path()) <= 1 || !goTo(gtk::rowAbove)) {
                m_path.reset();
                return;
            }
            gtk::pathUp(path());
            gtk::pathNext(path());
        }
    }
    void* path() const { return m_path.get(); }
    GxTreeIter* row() { return &m_row; }
    bool isExpanded() { return gtk::hasRowsBelow(m_model, &m_row) && gtk::isExpanded(m_view, path()); }

private:
    void start()
    {
        if (m_path && !gtk::modelRow(m_model, &m_row, path()))
            m_path.reset();
    }
    template <class Relative> bool goTo(Relative& relative)
    {
        GxTreeIter from = m_row;
        GxTreeIter there;
        const bool isThere = relative(m_model, &there, &from) != 0;
        m_row = isThere ? there : m_row;
        return isThere;
    }
    bool goToNext()
    {
        GxTreeIter there = m_row;
        const bool isThere = gtk::nextRow(m_model, &there) != 0;
        m_row = isThere ? there : m_row;
        return isThere;
    }

    _GtkWidget* m_view;
    void* m_model;
    PathPtr m_path;
    PathPtr m_last;
    GxTreeIter m_row;
};

std::vector<void*> shownColumns(_GtkWidget* view)
{
    std::vector<void*> columns = taken<void>(gtk::columns(view));
    std::erase_if(columns, [](void* column) { return !gtk::isColumnVisible(column); });
    return columns;
}

/// What a press opens and closes a row on, in the coordinates of rows: before what a column shows of it.
/// Nothing where the program hides it.
std::optional<_GtkAllocation> expanderOf(_GtkWidget* view, void* path)
{
    void* const column = gtk::expanderColumn(view);
    if (!column || !gtk::isColumnVisible(column) || !truthOf(view, "show-expanders").value_or(true))
        return std::nullopt;
    _GtkAllocation whole{}, content{};
    gtk::cellArea(view, path, column, &whole);
    gtk::contentArea(view, path, column, &content);
    const bool mirrored = isMirrored(view);
    const int before = mirrored ? whole.x + whole.width - content.x - content.width : content.x - whole.x;
    const int depth = std::max(gtk::pathDepth(path), 1);
    const int size = (before - (depth - 1) * intOf(view, "level-indentation").value_or(0)) / depth;
    if (size <= 0)
        return std::nullopt;
    // GTK indents what rows show alone: what opens them stays behind.
    const int left = mirrored ? whole.x + whole.width - depth * size : whole.x + (depth - 1) * size;
    return _GtkAllocation{left, whole.y, size, whole.height};
}

Rect joined(const Rect& one, const Rect& other)
{
    if (one.getWidth() == 0 || other.getWidth() == 0)
        return one.getWidth() == 0 ? other : one;
    const int left = std::min(one.getLeft(), other.getLeft()), top = std::min(one.getTop(), other.getTop());
    const int right = std::max(one.getLeft() + one.getWidth(), other.getLeft() + other.getWidth());
    const int bottom = std::max(one.getTop() + one.getHeight(), other.getTop() + other.getHeight());
    return {top, left, bottom - top, right - left};
}

bool isListOnly(void* model)
{
    return (gtk::modelFlags(model) & listOnly) != 0;
}

/// Reads rows of a GtkTreeView. The program may compute what a cell shows: it is asked as for drawing.
class CTreeRows {
public:
    CTreeRows(_GtkWidget* view, CGdkPlaces& places)
        : m_view(view), m_places(places), m_model(gtk::treeModel(view)), m_columns(shownColumns(view)),
          m_window(gtk::binWindow(view))
    {
        int unused = 0;
        if (m_window)
            _gdk_window_get_geometry(m_window, &unused, &unused, &m_width, &m_height, &unused);
    }
    void* model() const { return m_model; }
    const std::vector<void*>& columns() const { return m_columns; }
    CWidgetRow read(CRowWalk& walk);
    std::vector<std::string> readTexts(CRowWalk& walk);

private:
    CWidgetCell readCell(CRowWalk& walk, void* column);
    Rect placeOf(void* path, void* column);
    Rect placeOf(const _GtkAllocation& area);
    void readBelow(CRowWalk& walk, CWidgetRow& row);

    _GtkWidget* m_view;
    CGdkPlaces& m_places;
    void* m_model;
    std::vector<void*> m_columns;
    _GdkDrawable* m_window;
    int m_width = 0;
    int m_height = 0;
};

Rect CTreeRows::placeOf(void* path, void* column)
{
    _GtkAllocation area{};
    gtk::cellArea(m_view, path, column, &area);
    return placeOf(area);
}

/// What is scrolled out of sight lies beyond the window, or behind the titles.
Rect CTreeRows::placeOf(const _GtkAllocation& area)
{
    const Rect seen = clipped(Rect(area.y, area.x, area.height, area.width), m_width, m_height);
    return seen.getWidth() == 0 ? Rect()
                                : m_places.onScreen(m_window, {seen.getLeft(), seen.getTop(), seen.getWidth(),
                                                               seen.getHeight()});
}

CWidgetCell CTreeRows::readCell(CRowWalk& walk, void* column)
{
    gtk::setCellData(column, m_model, walk.row(), gtk::hasRowsBelow(m_model, walk.row()), walk.isExpanded());
    return contentOf(column);
}

std::vector<std::string> CTreeRows::readTexts(CRowWalk& walk)
{
    std::vector<std::string> texts;
    for (void* const column : m_columns)
        texts.push_back(readCell(walk, column).text);
    return texts;
}

void CTreeRows::readBelow(CRowWalk& walk, CWidgetRow& row)
{
    if (!gtk::hasRowsBelow(m_model, walk.row()))
        return;
    row.open = walk.isExpanded();
    if (const auto area = expanderOf(m_view, walk.path()))
        row.expander = placeOf(*area);
}

CWidgetRow CTreeRows::read(CRowWalk& walk)
{
    CWidgetRow row;
    row.path = takenText(gtk::pathText(walk.path()));
    row.selected = gtk::isPathSelected(gtk::treeSelection(m_view), walk.path()) != 0;
    for (void* const column : m_columns) {
        CWidgetCell& cell = row.cells.emplace_back(readCell(walk, column));
        cell.box = placeOf(walk.path(), column);
        row.box = joined(row.box, cell.box);
    }
    readBelow(walk, row);
    return row;
}

/// What `read` finds at each of some rows of a tree view.
template <class Row>
std::vector<Row> rowsOfTree(_GtkWidget* view, size_t first, size_t count, Row (CTreeRows::*read)(CRowWalk&))
{
    CGdkPlaces places;
    CTreeRows reader(view, places);
    std::vector<Row> rows;
    if (!reader.model())
        return rows;
    CRowWalk walk(view, reader.model(), first, isListOnly(reader.model()));
    for (; rows.size() < count && walk.isAtRow(); walk.next())
        rows.push_back((reader.*read)(walk));
    return rows;
}

std::string textIn(void* model, GxTreeIter* row, int column)
{
    if (gtk::modelColumnType(model, column) != stringType)
        return {};
    GxGValue value;
    gtk::modelValue(model, row, column, &value);
    std::string text = textOrNone(g::stringOf(&value));
    g::unsetValue(&value);
    return text;
}

/// The first column of text in a row of a model: what shows where nothing else is known.
std::string firstTextIn(void* model, GxTreeIter* row)
{
    for (int column = 0; column < gtk::modelColumns(model); ++column)
        if (gtk::modelColumnType(model, column) == stringType)
            return textIn(model, row, column);
    return {};
}

/// Reads icons of a GtkIconView as rows of one cell.
class CIconRows {
public:
    CIconRows(_GtkWidget* view, CGdkPlaces& places)
        : m_view(view), m_places(places), m_model(gtk::iconModel(view)),
          m_column(intOf(view, "text-column").value_or(-1))
    {
        _gtk_widget_get_allocation(view, &m_all);
    }
    void* model() const { return m_model; }
    bool read(long index, CWidgetRow& row); ///< @return whether there is one

    /// Where an icon is in the view.
    _GtkAllocation areaOf(void* path);

private:
    void probe();

    _GtkWidget* m_view;
    CGdkPlaces& m_places;
    void* m_model;
    int m_column; ///< of texts; -1 when it has renderers of the program's own
    std::unordered_map<std::string, Rect> m_probed; ///< by path
    _GtkAllocation m_all{};
};

/// GTK 2 does not tell; it only answers what lies at a place.
void CIconRows::probe()
{
    constexpr int step = 8; // pixels
    for (int y = 0; y < m_all.height; y += step)
        for (int x = 0; x < m_all.width; x += step) {
            int inX = x, inY = y;
            gtk::toIconWindow(m_view, x, y, &inX, &inY);
            if (const PathPtr there{gtk::iconAt(m_view, inX, inY)}) {
                Rect& known = m_probed[takenText(gtk::pathText(there.get()))];
                known = joined(known, Rect(y, x, step, step));
            }
        }
}

_GtkAllocation CIconRows::areaOf(void* path)
{
    _GtkAllocation area{};
    if (isGTK3()) {
        gtk::iconArea(m_view, path, nullptr, &area);
        return area;
    }
    if (m_probed.empty())
        probe();
    const Rect known = m_probed[takenText(gtk::pathText(path))];
    return {known.getLeft(), known.getTop(), known.getWidth(), known.getHeight()};
}

bool isBetween(_GtkWidget* view, void* path)
{
    void *first = nullptr, *last = nullptr;
    if (!gtk::iconsInSight(view, &first, &last))
        return false;
    const PathPtr from(first), to(last);
    return gtk::comparePaths(path, first) >= 0 && gtk::comparePaths(path, last) <= 0;
}

bool CIconRows::read(long index, CWidgetRow& row)
{
    const PathPtr path = pathOf(std::to_string(index));
    GxTreeIter place;
    if (!m_model || !gtk::modelRow(m_model, &place, path.get()))
        return false;
    row.path = std::to_string(index);
    row.selected = gtk::isIconSelected(m_view, path.get()) != 0;
    CWidgetCell cell;
    cell.text = m_column >= 0 ? textIn(m_model, &place, m_column) : firstTextIn(m_model, &place);
    const _GtkAllocation area = isBetween(m_view, path.get()) ? areaOf(path.get()) : _GtkAllocation{};
    const Rect seen = clipped(Rect(area.y, area.x, area.height, area.width), m_all.width, m_all.height);
    if (seen.getWidth() > 0)
        cell.box = m_places.onScreen(_gtk_widget_get_window(m_view),
                                     {seen.getLeft(), seen.getTop(), seen.getWidth(), seen.getHeight()});
    row.box = cell.box;
    row.cells.push_back(std::move(cell));
    return true;
}

long firstIconInSight(_GtkWidget* view)
{
    void *first = nullptr, *last = nullptr;
    if (!gtk::iconsInSight(view, &first, &last))
        return -1;
    const PathPtr from(first), to(last);
    return std::atol(takenText(gtk::pathText(first)).c_str());
}

std::vector<CWidgetRow> rowsOfIcons(_GtkWidget* view, size_t first, size_t count)
{
    CGdkPlaces places;
    CIconRows reader(view, places);
    std::vector<CWidgetRow> rows;
    for (CWidgetRow row; rows.size() < count && reader.read(static_cast<long>(first + rows.size()), row);
         row = {})
        rows.push_back(row);
    return rows;
}

/// GTK may have scrolled to the other end of a column that is wider than what there is room for.
bool scrollToExpander(_GtkWidget* view, void* path, _GtkAllocation& place)
{
    gtk::scrollToCell(view, path, nullptr, 0, 0, 0);
    const std::optional<_GtkAllocation> area = expanderOf(view, path);
    if (!area)
        return false;
    int x = 0, inTree = 0, unused = 0;
    gtk::fromBinWindow(view, area->x, area->y, &x, &unused);
    gtk::toTreePlace(view, area->x, area->y, &inTree, &unused);
    _GtkAllocation all{};
    _gtk_widget_get_allocation(view, &all);
    if (x < 0 || x + area->width > all.width)
        gtk::scrollToTreePlace(view, x < 0 ? inTree : inTree + area->width - all.width, -1);
    place = expanderOf(view, path).value_or(*area);
    gtk::fromBinWindow(view, place.x, place.y, &place.x, &place.y);
    return true;
}

bool scrollToTreeRow(_GtkWidget* view, void* path, int column, _GtkAllocation& place)
{
    const std::vector<void*> columns = shownColumns(view);
    void* const model = gtk::treeModel(view);
    GxTreeIter row;
    if (!model || !gtk::modelRow(model, &row, path))
        return false;
    if (column < 0)
        return scrollToExpander(view, path, place);
    if (static_cast<size_t>(column) >= columns.size())
        return false;
    void* const shown = columns[static_cast<size_t>(column)];
    gtk::scrollToCell(view, path, shown, 0, 0, 0);
    gtk::cellArea(view, path, shown, &place);
    gtk::fromBinWindow(view, place.x, place.y, &place.x, &place.y);
    return true;
}
} // namespace

void readTreeView(_GtkWidget* view, CGdkPlaces& places, CWidgetNode& node)
{
    CTreeRows reader(view, places);
    const bool hasHeaders = gtk::showsHeaders(view) != 0;
    if (hasHeaders)
        for (void* const column : reader.columns())
            node.columns.push_back(textOrNone(gtk::columnTitle(column)));
    node.role = reader.columns().size() > 1 || hasHeaders ? "TABLE" : "LIST";
    if (!reader.model())
        return;
    if (!isListOnly(reader.model()))
        node.role = "TREE";
    node.rowCount = gtk::rowsBelow(reader.model(), nullptr);
    CRowWalk walk(view, node.showing ? reader.model() : nullptr);
    for (; walk.isAtRow() && node.rows.size() < CTreeLimits::rows; walk.next())
        node.rows.push_back(reader.read(walk));
    node.childrenCut = walk.isAtRow();
}

void readIconView(_GtkWidget* view, CGdkPlaces& places, CWidgetNode& node)
{
    CIconRows reader(view, places);
    node.rowCount = reader.model() ? gtk::rowsBelow(reader.model(), nullptr) : 0;
    const long first = node.showing ? firstIconInSight(view) : -1;
    CWidgetRow row;
    for (long index = first; index >= 0 && reader.read(index, row) && row.box.getWidth() > 0; ++index) {
        if (node.rows.size() >= CTreeLimits::rows) {
            node.childrenCut = true;
            return;
        }
        node.rows.push_back(std::exchange(row, {}));
    }
}

std::vector<CWidgetRow> rowsOf(_GtkWidget* view, size_t first, size_t count)
{
    if (isA(view, "GtkTreeView"))
        return rowsOfTree(view, first, count, &CTreeRows::read);
    if (isA(view, "GtkIconView"))
        return rowsOfIcons(view, first, count);
    return {};
}

std::vector<std::vector<std::string>> textsOf(_GtkWidget* view, size_t first, size_t count)
{
    if (isA(view, "GtkTreeView"))
        return rowsOfTree(view, first, count, &CTreeRows::readTexts);
    std::vector<std::vector<std::string>> texts;
    for (CWidgetRow& icon : rowsOf(view, first, count))
        texts.push_back({std::move(icon.cells.front().text)});
    return texts;
}

bool scrollToRow(_GtkWidget* view, const std::string& path, int column, _GtkAllocation& place)
{
    const PathPtr row = pathOf(path);
    if (row && isA(view, "GtkTreeView"))
        return scrollToTreeRow(view, row.get(), column, place);
    GxTreeIter unused;
    if (!row || !isA(view, "GtkIconView") || !gtk::modelRow(gtk::iconModel(view), &unused, row.get()))
        return false;
    gtk::scrollToIcon(view, row.get(), 0, 0, 0);
    CGdkPlaces places;
    place = CIconRows(view, places).areaOf(row.get());
    return true;
}

std::string cellViewText(_GtkWidget* view)
{
    const PathPtr path(gtk::displayedRow(view));
    void* const model = objectOf(view, "model");
    GxTreeIter row;
    if (!path || !model || !gtk::modelRow(model, &row, path.get()))
        return {};
    if (void* const area = gtk::cellArea3(view))
        gtk::applyAttributes(area, model, &row, 0, 0);
    std::string text = contentOf(view).text;
    return text.empty() ? firstTextIn(model, &row) : text;
}
