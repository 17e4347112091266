/// Objects of GTK: their types and properties by name, their lists, and where they are on the screen.
#pragma once

#include "unix/widget/GtkCalls.h"
#include "unix/window/WindowManager.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

struct CGFree {
    void operator()(void* memory) const noexcept { g::free(memory); }
};
using GPtr = std::unique_ptr<char, CGFree>; ///< a text that GLib or GTK handed out

/// A text that was handed out. @return empty for null
std::string takenText(char* text);
inline std::string textOrNone(const char* text)
{
    return text ? text : "";
}

/// Keeps the objects in memory that `taken` and `childrenOf` hand out, from then until its end: a program may
/// destroy them meanwhile. Nests. GUI thread only.
class CGHold {
public:
    CGHold() = default;
    ~CGHold();
    CGHold(const CGHold&) = delete;
    CGHold& operator=(const CGHold&) = delete;

    static void keep(void* object);

private:
    CGHold* const m_outer = std::exchange(s_innermost, this);
    std::vector<void*> m_objects;
    inline static constinit CGHold* s_innermost = nullptr;
};

/// The elements of a list of objects that GLib handed out, which is freed.
template <class Element> std::vector<Element*> taken(_GList* list)
{
    std::vector<Element*> elements;
    for (_GList* each = list; each; each = each->next)
        elements.push_back(static_cast<Element*>(each->data));
    for (Element* const each : elements)
        CGHold::keep(each);
    _g_list_free(list);
    return elements;
}

constexpr unsigned long stringType = 16 << 2; ///< one of those that GLib numbers for good

unsigned long typeOf(const void* object);
/// Whether an object is of a class or of one derived from it. A class that nobody has used yet has no
/// objects.
bool isA(const void* object, const char* type);
/// All in a container, what it made for itself included; empty for what is none.
std::vector<_GtkWidget*> childrenOf(_GtkWidget* widget);

/// A property by name; nothing when the object has none of that name.
std::optional<bool> truthOf(void* object, const char* property);
std::optional<int> intOf(void* object, const char* property);
std::optional<double> numberOf(void* object, const char* property);
std::string textOf(void* object, const char* property);
void* objectOf(void* object, const char* property); ///< borrowed from the object; null for none

/// Whether it is laid out from right to left.
bool isMirrored(_GtkWidget* widget);
/// The X window of a widget; 0 when it has none of its own.
unsigned long xWindowOf(_GtkWidget* widget);
/// Whether a window shows: one that is iconified or withdrawn stays mapped for GTK.
bool isOnScreen(_GtkWidget* toplevel);

/// Where GdkWindows are, in pixels of the root as GTK counts them. Asks the X server once for each top-level
/// window while this object lives.
class CGdkPlaces {
public:
    /// @param box  in the window
    Rect onScreen(_GdkDrawable* window, const _GtkAllocation& box);
    /// The box of a widget in pixels of X11; zero before it is realized.
    Rect boxOf(_GtkWidget* widget);

private:
    struct COrigin {
        int x = 0;
        int y = 0;
    };
    COrigin originOf(_GdkDrawable* window);

    std::unordered_map<_GdkDrawable*, COrigin> m_known;
};
