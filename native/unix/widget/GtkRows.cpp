#include "GtkRows.h"

#include <utility>

namespace {
constexpr int listOnly = 2; ///< of the flags of a model: no row has rows below it
constexpr unsigned long stringType = 16 << 2;

struct CPathFree {
    void operator()(void* path) const noexcept { gtk::freePath(path); }
};
using PathPtr = std::unique_ptr<void, CPathFree>;

std::string textOfCell(void* renderer)
{
    if (isA(renderer, "GtkCellRendererToggle"))
        return truthOf(renderer, "active").value_or(false) ? "true" : "false";
    if (isA(renderer, "GtkCellRendererText"))
        return textOf(renderer, "text");
    if (isA(renderer, "GtkCellRendererProgress"))
        return textOf(renderer, "text");
    return {};
}

/// The texts of the renderers in a column or cell view that show, with what they were last told to show.
std::string textOfCells(void* layout)
{
    std::string all;
    for (void* const renderer : taken<void>(gtk::cells(layout))) {
        const std::string text = truthOf(renderer, "visible").value_or(true) ? textOfCell(renderer) : "";
        all += (all.empty() || text.empty() ? "" : " ") + text;
    }
    return all;
}

/// Walks over the rows of a tree view as it shows them.
class CRowWalk {
public:
    CRowWalk(_GtkWidget* view, void* model) : m_view(view), m_model(model)
    {
        void *first = nullptr, *last = nullptr;
        if (model && gtk::visibleRange(view, &first, &last)) {
            m_path.reset(first);
            m_last.reset(last);
        }
    }
    /// @return whether there is a row here
    bool isAtRow()
    {
        return m_path && gtk::comparePaths(path(), m_last.get()) <= 0 &&
               gtk::modelRow(m_model, &m_row, path());
    }
    void next()
    {
        if (isExpanded()) {
            gtk::pathDown(path());
            return;
        }
        gtk::pathNext(path());
        GxTreeIter row;
        while (!gtk::modelRow(m_model, &row, path())) {
            if (gtk::pathDepth(path()) <= 1) {
                m_path.reset();
                return;
            }
            gtk::pathUp(path());
            gtk::pathNext(path());
        }
    }
    void* path() const { return m_path.get(); }
    GxTreeIter* row() { return &m_row; }
    bool isExpanded() const { return gtk::isExpanded(m_view, path()) != 0; }

private:
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

/// The program may compute what a cell shows: it is asked as for drawing.
CWidgetRow readRow(_GtkWidget* view, CGdkPlaces& places, CRowWalk& walk, const std::vector<void*>& columns)
{
    CWidgetRow row;
    row.path = takenText(gtk::pathText(walk.path()));
    void* const model = gtk::treeModel(view);
    row.selected = gtk::isPathSelected(gtk::treeSelection(view), walk.path()) != 0;
    for (void* const column : columns) {
        gtk::setCellData(column, model, walk.row(), gtk::hasRowsBelow(model, walk.row()), walk.isExpanded());
        row.cells.push_back(textOfCells(column));
        _GtkAllocation area{};
        gtk::cellArea(view, walk.path(), column, &area);
        row.boxes.push_back(places.onScreen(gtk::binWindow(view), area));
    }
    if (!row.boxes.empty()) {
        const Rect first = row.boxes.front(), last = row.boxes.back();
        const int left = std::min(first.getLeft(), last.getLeft());
        const int right = std::max(first.getLeft() + first.getWidth(), last.getLeft() + last.getWidth());
        row.box = Rect(first.getTop(), left, first.getHeight(), right - left);
    }
    return row;
}

/// The first column of text in a row of a model: what shows where nothing else is known.
std::string firstTextIn(void* model, GxTreeIter* row)
{
    for (int column = 0; column < gtk::modelColumns(model); ++column) {
        if (gtk::modelColumnType(model, column) != stringType)
            continue;
        GxGValue value;
        gtk::modelValue(model, row, column, &value);
        std::string text = textOrNone(g::stringOf(&value));
        g::unsetValue(&value);
        return text;
    }
    return {};
}
} // namespace

void readTreeView(_GtkWidget* view, CGdkPlaces& places, CWidgetNode& node)
{
    const std::vector<void*> columns = shownColumns(view);
    void* const model = gtk::treeModel(view);
    const bool hasHeaders = gtk::showsHeaders(view) != 0;
    if (hasHeaders)
        for (void* const column : columns)
            node.columns.push_back(textOrNone(gtk::columnTitle(column)));
    node.role = columns.size() > 1 || hasHeaders ? "TABLE" : "LIST";
    if (!model)
        return;
    if ((gtk::modelFlags(model) & listOnly) == 0)
        node.role = "TREE";
    node.rowCount = gtk::rowsBelow(model, nullptr);
    CRowWalk walk(view, node.showing ? model : nullptr);
    for (; walk.isAtRow() && node.rows.size() < CTreeLimits::rows; walk.next())
        node.rows.push_back(readRow(view, places, walk, columns));
    node.childrenCut = walk.isAtRow();
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
    std::string text = textOfCells(view);
    return text.empty() ? firstTextIn(model, &row) : text;
}
