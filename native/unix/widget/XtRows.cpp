#include "unix/widget/XtRows.h"

#include "unix/widget/XtFacts.h"
#include "unix/widget/XtObjects.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_map>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>
#include <Xm/Xm.h>

namespace {
/// Rows from `first` on that may be in sight.
struct CRange {
    size_t first = 0;
    size_t end = 0;
};

/// The rows of one widget as they are now.
class IXtRows {
public:
    virtual ~IXtRows() = default;
    virtual size_t count() const = 0;
    virtual CRange inSight() const = 0;
    virtual bool isInSight(size_t) const { return true; } ///< of the range
    virtual CWidgetRow row(size_t index) const = 0;       ///< with boxes of no size when it is out of sight
    virtual std::vector<std::vector<std::string>> texts(size_t first, size_t count) const;
    virtual std::vector<std::string> columns() const { return {}; }
    /// @return what is to be scrolled into sight: what stands for the row or opens it, or the list, which has
    /// scrolled
    virtual Widget show(const std::string& path, bool expander) const = 0;
};

std::vector<std::vector<std::string>> IXtRows::texts(size_t first, size_t count) const
{
    std::vector<std::vector<std::string>> texts;
    for (size_t index = first; texts.size() < count && index < this->count(); ++index) {
        auto& cells = texts.emplace_back();
        for (CWidgetCell& cell : row(index).cells)
            cells.push_back(std::move(cell.text));
    }
    return texts;
}

CRange rangeOf(int first, int visible, int count)
{
    const int begin = std::clamp(first, 0, count);
    return {static_cast<size_t>(begin), static_cast<size_t>(std::clamp(begin + visible, begin, count))};
}

bool isIn(const CRange& range, size_t index)
{
    return index >= range.first && index < range.end;
}

/// An XmList.
class CListRows final : public IXtRows {
public:
    CListRows(Widget list, const Rect& box) : m_list(list), m_box(box)
    {
        guarded([&] { readXtList(m_list, m_facts); });
    }
    size_t count() const override { return static_cast<size_t>(m_facts.count); }
    CRange inSight() const override { return rangeOf(m_facts.first, m_facts.visible, m_facts.count); }
    CWidgetRow row(size_t index) const override;
    std::vector<std::vector<std::string>> texts(size_t first, size_t count) const override;
    Widget show(const std::string& path, bool) const override
    {
        guarded([&] { showXtItem(m_list, std::atoi(path.c_str())); });
        return m_list;
    }

private:
    Widget m_list;
    Rect m_box;
    CXtList m_facts;
};

CWidgetRow CListRows::row(size_t index) const
{
    CXtItem item;
    guarded([&] { readXtItem(m_list, static_cast<int>(index), item); });
    const Rect box = isIn(inSight(), index)
                         ? Rect(m_box.getTop() + item.y, m_box.getLeft() + item.x, item.height, item.width)
                         : Rect();
    return {std::to_string(index), item.selected, box, {{taken(item.text), std::nullopt, box}}};
}

std::vector<std::vector<std::string>> CListRows::texts(size_t first, size_t count) const
{
    std::vector<char*> read(std::min(count, this->count() - std::min(first, this->count())));
    int known = 0;
    guarded([&] {
        known = readXtTexts(m_list, static_cast<int>(first), static_cast<int>(read.size()), read.data());
    });
    std::vector<std::vector<std::string>> texts;
    for (int index = 0; index < known; ++index)
        texts.push_back({taken(read[static_cast<size_t>(index)])});
    return texts;
}

/// An XmI18List, which is what the rows of an XmMultiList are in.
class CColumnRows final : public IXtRows {
public:
    CColumnRows(Widget list, const Rect& box) : m_list(list), m_box(box)
    {
        guarded([&] { readXtColumns(m_list, m_facts); });
    }
    size_t count() const override { return static_cast<size_t>(m_facts.count); }
    CRange inSight() const override { return rangeOf(m_facts.first, m_facts.visible, m_facts.count); }
    CWidgetRow row(size_t index) const override;
    std::vector<std::string> columns() const override;
    Widget show(const std::string& path, bool) const override
    {
        guarded([&] { showXtLine(m_list, std::atoi(path.c_str())); });
        return m_list;
    }

private:
    Widget m_list;
    Rect m_box;
    CXtColumns m_facts;
};

CWidgetRow CColumnRows::row(size_t index) const
{
    const int number = static_cast<int>(index);
    const int top = m_facts.top + (number - m_facts.first) * m_facts.pitch;
    const int height = isIn(inSight(), index) ? m_facts.height : 0;
    CWidgetRow row{std::to_string(index), false, {}, {}};
    if (height > 0)
        row.box = Rect(m_box.getTop() + top, m_box.getLeft(), height, m_box.getWidth());
    for (int column = 0; column < m_facts.columns; ++column) {
        CXtCell cell;
        guarded([&] { readXtCell(m_list, number, column, cell); });
        row.selected = cell.selected;
        const int left = std::clamp(cell.left, 0, m_box.getWidth());
        const int right = std::clamp(cell.right, left, m_box.getWidth());
        const bool shows = height > 0 && right > left;
        row.cells.push_back(
            {taken(cell.text), std::nullopt,
             shows ? Rect(row.box.getTop(), m_box.getLeft() + left, height, right - left) : Rect()});
    }
    return row;
}

std::vector<std::string> CColumnRows::columns() const
{
    std::vector<std::string> titles;
    for (int column = 0; column < m_facts.columns; ++column) {
        CXtCell title;
        guarded([&] { readXtCell(m_list, -1, column, title); });
        titles.push_back(taken(title.text));
    }
    return titles;
}

Rect intersection(const Rect& one, const Rect& other)
{
    const int left = std::max(one.getLeft(), other.getLeft()), top = std::max(one.getTop(), other.getTop());
    const int right = std::min(one.getLeft() + one.getWidth(), other.getLeft() + other.getWidth());
    const int bottom = std::min(one.getTop() + one.getHeight(), other.getTop() + other.getHeight());
    return right > left && bottom > top ? Rect(top, left, bottom - top, right - left) : Rect();
}

/// An XmContainer, XmOutline or XmTree: its rows are those of its children that are not below a closed one.
class CNodeRows final : public IXtRows {
public:
    CNodeRows(Widget list, const Rect& box);
    size_t count() const override { return m_nodes.size(); }
    CRange inSight() const override { return {0, m_nodes.size()}; }
    bool isInSight(size_t index) const override { return boxOfNode(index).getWidth() > 0; }
    CWidgetRow row(size_t index) const override;
    std::vector<std::string> columns() const override;
    Widget show(const std::string& path, bool expander) const override;

private:
    struct CNode {
        Widget widget;
        std::string path;
        std::optional<bool> open;
        Widget expander; ///< null for none
    };
    struct CChild {
        Widget widget;
        bool isOpen;
        bool shows; ///< unless one above it is closed
        Widget expander;
    };
    using Children = std::unordered_map<Widget, std::vector<CChild>>; ///< by parent, null for the outermost

    void collect(const Children& all, Widget parent, const std::string& around);
    Rect boxOfNode(size_t index) const { return boxIn(m_nodes[index].widget); }
    Rect boxIn(Widget widget) const { return intersection(boxOf(widget, m_origin), m_seen); }
    void readDetails(Widget widget, CWidgetRow& row) const;

    Widget m_list;
    Rect m_seen; ///< what shows of it, in root coordinates
    COrigin m_origin;
    bool m_hasDetails = false;
    std::vector<CNode> m_nodes;
};

/// What the widgets around do not cut off.
Rect seenOf(Widget widget, const Rect& box)
{
    Rect seen = box;
    COrigin origin{box.getLeft(), box.getTop()};
    for (Widget each = widget; !XtIsShell(each) && XtParent(each); each = XtParent(each)) {
        const Widget around = XtParent(each);
        origin.x -= each->core.x + each->core.border_width;
        origin.y -= each->core.y + each->core.border_width;
        seen = intersection(seen, Rect(origin.y, origin.x, around->core.height, around->core.width));
    }
    return seen;
}

/// Whether what stands below comes later: where the user can move the items it does not.
bool isInOrder(Widget list)
{
    bool isFree = false;
    guarded([&] { isFree = isXtSpatial(list); });
    return !isFree;
}

CNodeRows::CNodeRows(Widget list, const Rect& box)
    : m_list(list), m_seen(seenOf(list, box)), m_origin{box.getLeft(), box.getTop()}
{
    guarded([&] { m_hasDetails = hasXtDetails(m_list); });
    std::vector<Widget> widgets = livingChildren(list);
    if (isInOrder(list))
        std::stable_sort(widgets.begin(), widgets.end(),
                         [](Widget one, Widget other) { return one->core.y < other->core.y; });
    Children all;
    for (const Widget child : widgets) {
        CXtNode node;
        guarded([&] { readXtNode(m_list, child, node); });
        if (node.shows)
            all[node.parent].push_back({child, node.isOpen, !isOutAtCorner(child), node.expander});
    }
    collect(all, nullptr, "");
}

void CNodeRows::collect(const Children& all, Widget parent, const std::string& around)
{
    const auto found = all.find(parent);
    size_t number = 0;
    for (const CChild& child : found == all.end() ? std::vector<CChild>() : found->second) {
        if (!child.shows)
            continue;
        const std::string path = around + std::to_string(number++);
        const auto open = all.contains(child.widget) ? std::optional(child.isOpen) : std::nullopt;
        m_nodes.push_back({child.widget, path, open, child.expander});
        if (child.isOpen)
            collect(all, child.widget, path + ":");
    }
}

/// What a widget that stands for a row says, or the first thing in it that says anything.
std::string textIn(Widget widget)
{
    CXtFacts facts;
    guarded([&] { readXtFacts(widget, facts); });
    std::string text = taken(facts.text);
    taken(facts.label);
    const std::vector<Widget> inside = text.empty() ? livingChildren(widget) : std::vector<Widget>();
    for (auto child = inside.begin(); text.empty() && child != inside.end(); ++child)
        text = textIn(*child);
    return text;
}

void CNodeRows::readDetails(Widget widget, CWidgetRow& row) const
{
    for (int index = 0;; ++index) {
        char* text = nullptr;
        bool isThere = false;
        guarded([&] { isThere = readXtDetail(widget, index, &text); });
        if (!isThere)
            return;
        row.cells.push_back({taken(text), std::nullopt, row.box});
    }
}

CWidgetRow CNodeRows::row(size_t index) const
{
    const CNode& node = m_nodes[index];
    CXtFacts facts;
    guarded([&] { readXtFacts(node.widget, facts); });
    taken(facts.text);
    taken(facts.label);
    const Rect box = boxOfNode(index);
    CWidgetRow row{node.path, facts.selected, box, {}};
    row.cells.push_back(
        {textIn(node.widget), facts.checked < 0 ? std::nullopt : std::optional(facts.checked != 0), box});
    if (m_hasDetails)
        readDetails(node.widget, row);
    row.open = node.open;
    if (node.expander && XtIsManaged(node.expander))
        row.expander = boxIn(node.expander);
    return row;
}

std::vector<std::string> CNodeRows::columns() const
{
    std::vector<std::string> titles;
    for (bool isThere = m_hasDetails; isThere;) {
        char* text = nullptr;
        guarded([&] { isThere = readXtHeading(m_list, static_cast<int>(titles.size()), &text); });
        if (isThere)
            titles.push_back(taken(text));
    }
    return titles;
}

Widget CNodeRows::show(const std::string& path, bool expander) const
{
    const auto found =
        std::find_if(m_nodes.begin(), m_nodes.end(), [&](const CNode& node) { return node.path == path; });
    if (found == m_nodes.end())
        return nullptr;
    return expander ? found->expander : found->widget;
}

std::unique_ptr<IXtRows> rowsIn(Widget list, const Rect& box)
{
    if (isOfKind(list, "XmList"))
        return std::make_unique<CListRows>(list, box);
    if (isOfKind(list, "XmI18List"))
        return std::make_unique<CColumnRows>(list, box);
    if (isOfKind(list, "XmContainer") || isOfKind(list, "XmHierarchy"))
        return std::make_unique<CNodeRows>(list, box);
    return nullptr;
}
} // namespace

void readXtRows(Widget list, CWidgetNode& node)
{
    const std::unique_ptr<IXtRows> rows = rowsIn(list, node.box);
    if (!rows)
        return;
    node.rowCount = static_cast<long>(rows->count());
    node.columns = rows->columns();
    const CRange range = node.showing ? rows->inSight() : CRange();
    for (size_t index = range.first; index < range.end; ++index) {
        if (!rows->isInSight(index))
            continue;
        if (node.rows.size() >= CTreeLimits::rows) {
            node.childrenCut = true;
            return;
        }
        node.rows.push_back(rows->row(index));
    }
}

std::vector<CWidgetRow> xtRowsOf(Widget list, const Rect& box, size_t first, size_t count)
{
    const std::unique_ptr<IXtRows> all = rowsIn(list, box);
    std::vector<CWidgetRow> rows;
    for (size_t index = first; all && rows.size() < count && index < all->count(); ++index)
        rows.push_back(all->row(index));
    return rows;
}

std::vector<std::vector<std::string>> xtTextsOf(Widget list, size_t first, size_t count)
{
    const std::unique_ptr<IXtRows> rows = rowsIn(list, {});
    return rows ? rows->texts(first, count) : std::vector<std::vector<std::string>>();
}

Widget showXtRow(Widget list, const std::string& path, bool expander)
{
    const std::unique_ptr<IXtRows> rows = rowsIn(list, {});
    return rows ? rows->show(path, expander) : nullptr;
}
