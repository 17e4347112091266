/// The widgets of this process, whichever toolkit made them, read into plain values.
#pragma once

#include "common/jni/JniDataTypes.h"
#include "unix/window/WindowManager.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct CWidgetCell {
    std::string text;
    std::optional<bool> checked; ///< of a box to tick
    Rect box;                    ///< what of it is in sight, in root coordinates; zero for nothing
};

/// A row of a list, a table or a tree.
struct CWidgetRow {
    std::string path; ///< its number from 0, below a parent row "parent:number"
    bool selected = false;
    Rect box; ///< as those of the cells
    std::vector<CWidgetCell> cells;
    std::optional<bool> open;     ///< whether the rows below it show; nothing where there are none
    std::optional<Rect> expander; ///< what a press opens it on, as the box; nothing where none shows
};

/// A dialog for a file or folder. Boxes are in root coordinates, zero for what is not to be seen.
struct CFileDialog {
    unsigned long window = 0; ///< X window
    std::string caption;
    Rect ok;
    Rect cancel;
    Rect file;              ///< the field for its name
    bool ready = true;      ///< it has read its folder: until then it may change what is typed into it
    bool enabled = false;   ///< its OK button reacts
    unsigned long okId = 0; ///< CWidgetNode::id of its OK button; 0 for none
};

/// What a user drags, and how far that goes.
struct CScrollBar {
    Rect thumb; ///< in root coordinates, as the next
    Rect way;   ///< that the thumb goes along; arrows at its ends may count as part of it
    double least = 0;
    double most = 0;         ///< with the thumb at the other end
    bool fromFarEnd = false; ///< the least is at the bottom or on the right
};

/// What a user sees of a widget. Texts are UTF-8; without mnemonic marks; empty where there is none.
struct CWidgetNode {
    std::string className;
    const char* role = "OTHER"; ///< a constant of the Java enumeration Role
    std::string name;           ///< what the program calls it
    std::string text;
    std::string label;
    std::string tip; ///< what shows when the pointer rests on it
    std::optional<double> value;
    std::optional<bool> checked;
    bool enabled = false;
    bool showing = false; ///< on the screen, perhaps scrolled out of sight or covered
    bool focused = false;
    bool editable = false;
    bool secret = false;              ///< it hides what it holds: `text` is never filled then
    bool selected = false;            ///< among the items of its parent
    bool textCut = false;             ///< a text was longer than it may be
    bool childrenCut = false;         ///< it has more children or rows than are here
    bool rowsToggle = false;          ///< a click on one of its rows that is selected deselects that
    Rect box;                         ///< in root coordinates
    std::optional<Rect> opener;       ///< what a press opens it on, where that is a part of it alone
    unsigned long window = 0;         ///< X window of its own
    unsigned long id = 0;             ///< its address: tells it from others, nothing else
    long rowCount = -1;               ///< of a list, table or tree, those out of sight as well; -1 for others
    std::vector<std::string> columns; ///< their titles
    std::vector<CWidgetRow> rows;     ///< those in sight
    std::vector<CWidgetNode> children;
};

/// How much is read of a tree; what is beyond is left out, and marked where it would be.
struct CTreeLimits {
    static constexpr size_t widgets = 20'000;
    static constexpr int depth = 100;
    static constexpr size_t rows = 500;         ///< of one widget
    static constexpr size_t characters = 8'192; ///< of one text, in units of UTF-16
    static constexpr size_t allTexts = 8 << 20; ///< of all texts of an answer
};

/// Of no widget: something that does not show.
constexpr unsigned long nobodysId = 0;

/// One implementation a toolkit. GUI thread only, within `hold`. What a toolkit cannot tell stays at its
/// default, and a widget of an unknown class is what the nearest known class above it is.
class IWidgetToolkit {
public:
    /// GTK when the process runs GTK 2 or 3, else Xt. Asked at every call: GTK may come later.
    static const IWidgetToolkit& current();

    /// Runs work that asks this toolkit. What it is given stays in memory until the work has ended: a program
    /// may destroy widgets when it is asked for a property of one, or scrolled.
    virtual void hold(const std::function<void()>& work) const = 0;
    /// The windows that are on the screen, menus included, with all that is in them.
    virtual std::vector<CWidgetNode> windows() const = 0;
    /// The widget that a press of the pointer would go to, and those that it lies in, from the innermost:
    /// their CWidgetNode::id. When a modal dialog or a menu takes the press away from what lies there, it
    /// begins with that one, or is `nobodysId` alone when that does not show. Empty when the point shows no
    /// widget of this process.
    virtual std::vector<unsigned long> at(const Point& point) const = 0;
    /// Scrolls what is around a widget until it shows. @param id  of a widget that a tree had; nothing scrolls
    /// around one that has gone @return whether anything scrolls around it
    virtual bool reveal(unsigned long id) const = 0;
    /// Rows of a list, table or tree as a user finds them by scrolling: those below rows that are closed are
    /// none. @param first  how many are left out @return `count` unless there are fewer; empty for what has
    /// no rows
    virtual std::vector<CWidgetRow> rows(unsigned long id, size_t first, size_t count) const = 0;
    /// What the cells of rows say, as `rows` tells it, and nothing else: a tenth of the work.
    virtual std::vector<std::vector<std::string>> texts(unsigned long id, size_t first,
                                                        size_t count) const = 0;
    /// Scrolls a cell into view, and the list around it. @param column  one that shows, from 0; -1 for the
    /// expander of the row
    /// @return whether there is such a row
    virtual bool revealRow(unsigned long id, const std::string& path, int column) const = 0;
    /// A scroll bar that can be dragged; nothing for any other widget.
    virtual std::optional<CScrollBar> scrollBar(unsigned long id) const = 0;
    /// The dialogs for files that are on the screen.
    virtual std::vector<CFileDialog> fileDialogs() const = 0;
    /// Puts a name into the field of a file dialog, as if it were typed. Does nothing for one that has gone.
    /// @throws CJStringNotInCodePageException  Motif: the locale's code set lacks a character
    virtual void setFile(unsigned long window, const CJString& file) const = 0;

protected:
    ~IWidgetToolkit() = default;
};

const IWidgetToolkit& gtkWidgets();
const IWidgetToolkit& motifWidgets();

/// Counts what is read of a tree against the limits.
class CTreeBudget {
public:
    /// @return whether one more widget may be read
    bool takeWidget()
    {
        if (m_widgets == 0)
            return false;
        --m_widgets;
        return true;
    }

private:
    size_t m_widgets = CTreeLimits::widgets;
};

/// Drops what only makes up the look of a button or item, such as the label inside of it, but not where that says
/// more than the text of the button, as with a title and what explains it.
void dropDecoration(CWidgetNode& node);
/// The first text in a widget and what is in it; of one that shows, the first that shows. Empty for none.
std::string firstText(const CWidgetNode& node);
