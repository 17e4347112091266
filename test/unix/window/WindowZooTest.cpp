// One window at a time: what it is called, where it is, and what can be done to it.
#include "include/Within.h"
#include "session/Program.h"

#include <gtest/gtest.h>

#include "Scene.h"

#include "unix/window/WindowManagerUnix.h"

using namespace std::chrono_literals;

namespace {
// The library reads the environment's locale when it first converts a text; no program here calls setlocale.
[[maybe_unused]] const int s_locale = setenv("LC_ALL", "C.UTF-8", 1);

std::string captionOf(Window window, int size = 127)
{
    char buffer[128];
    CWindow(static_cast<long>(window)).getWindowCaption(buffer, size);
    return buffer;
}

std::string classNameOf(Window window, int size = 127)
{
    char buffer[128];
    CWindow(static_cast<long>(window)).getWindowClassname(buffer, size);
    return buffer;
}

Rect rectOf(Window window)
{
    Rect rect;
    CWindow(static_cast<long>(window)).getRectangle(&rect);
    return rect;
}

std::string text(const Rect& rect)
{
    std::ostringstream out;
    out << rect.getWidth() << "x" << rect.getHeight() << "+" << rect.getLeft() << "+" << rect.getTop();
    return out.str();
}

const std::string kilobytes(100000, 'k');

TEST(WindowZoo, ReadsClassNamesOfAnyShape)
{
    const auto parts = [](std::string instance, std::string name) { return instance + '\0' + name + '\0'; };
    const struct {
        const char* why;
        std::string bytes;
        std::string expected;
        const char* type = "STRING";
        int format = 8;
    } rows[] = {
        {"class first", parts("xterm", "XTerm"), "XTerm xterm"},
        {"no instance", parts("", "XTerm"), "XTerm"},
        {"no class", parts("xterm", ""), ""},
        {"nothing", "", ""},
        {"only zeros", std::string(3, '\0'), ""},
        {"no second part", std::string("xterm\0", 6), ""},
        {"no terminating zero", std::string("xterm\0XTerm", 11), "XTerm xterm"},
        {"more parts", parts("xterm", "XTerm") + "more", "XTerm xterm"},
        {"both just fit", parts(std::string(62, 'i'), std::string(63, 'C')),
         std::string(63, 'C') + ' ' + std::string(62, 'i')},
        {"one byte too long together", parts(std::string(63, 'i'), std::string(63, 'C')),
         std::string(63, 'C')},
        {"class too long", parts("i", std::string(200, 'C')), std::string(126, 'C')},
        {"class of the buffer's size", parts("i", std::string(127, 'C')), std::string(126, 'C')},
        {"kilobytes", parts(kilobytes, "C"), ""},
        {"another type", parts("xterm", "XTerm"), "", "UTF8_STRING"},
        {"16-bit items", parts("xter", "XTer"), "", "STRING", 16},
        {"32-bit items", parts("xterm", "XTerm"), "", "STRING", 32},
    };
    CScene scene;
    for (const auto& row : rows) {
        const Window window = scene.add({});
        scene.setProperty(window, XA_WM_CLASS, scene.atom(row.type), row.format, row.bytes);
        EXPECT_EQ(row.expected, classNameOf(window)) << row.why;
    }
    EXPECT_EQ("", classNameOf(scene.add({}))) << "no property";
    const Window window = scene.add({});
    scene.setClass(window, "xterm", "XTerm");
    EXPECT_EQ("XTe", classNameOf(window, 4)) << "any buffer";
    EXPECT_EQ("", classNameOf(window, 1)) << "any buffer";
}

TEST(WindowZoo, ReadsCaptionsOfAnyEncodingInAHostWithoutALocale)
{
    const struct {
        const char* why;
        std::string bytes;
        std::string expected;
        const char* type = "STRING";
        int format = 8;
    } rows[] = {
        {"Latin-1", "K\xf6nig", "König"},
        {"UTF-8", "Zażółć € 中", "Zażółć € 中", "UTF8_STRING"},
        {"compound text, Greek", "\x1b-F\xe1\xe2", "αβ", "COMPOUND_TEXT"},
        {"compound text, Japanese", "\x1b$(B\x46\x7c\x4b\x5c", "日本", "COMPOUND_TEXT"},
        {"malformed UTF-8",
         "a\xff"
         "b",
         "ab", "UTF8_STRING"},
        {"first of several", std::string("one\0two", 7), "one"},
        {"empty first", std::string("\0two", 4), ""},
        {"another type", "\x01\x02\x03\x04", "", "WINDOW"},
        {"16-bit items", "name", "", "STRING", 16},
        {"32-bit items", "name", "", "STRING", 32},
        {"kilobytes", kilobytes, std::string(126, 'k')},
        {"cut by bytes", std::string(125, 'k') + "€", std::string(125, 'k') + "\xe2", "UTF8_STRING"},
    };
    CScene scene;
    for (const auto& row : rows) {
        const Window window = scene.add({});
        scene.setProperty(window, XA_WM_NAME, scene.atom(row.type), row.format, row.bytes);
        EXPECT_EQ(row.expected, captionOf(window)) << row.why;
    }
}

TEST(WindowZoo, TakesTheCaptionOfAFrameFromTheWindowInside)
{
    CScene scene;
    const Window frame = scene.add({.width = 200, .height = 200});
    const Window first = scene.add(frame, {});
    const Window last = scene.add(frame, {});
    scene.setName(last, "client");
    {
        const CTraceCapture trace;
        EXPECT_EQ("client", captionOf(frame));
        EXPECT_EQ("client", captionOf(last)) << "no child of the root, no children: named itself";
        EXPECT_TRUE(trace.has("FetchName failed,picking child"));
        EXPECT_FALSE(trace.has("kwindow found"));
    }
    const Window inner = scene.add(last, {});
    {
        const CTraceCapture trace;
        EXPECT_EQ("client", captionOf(last)) << "its topmost child has no name, so it has its own";
        EXPECT_TRUE(trace.has("FetchName failed,picking child"));
    }
    scene.setName(inner, "inner");
    EXPECT_EQ("client", CWindow(static_cast<long>(last)).name());
    EXPECT_EQ("inner", captionOf(last)) << "no child of the root: its topmost child is asked";
    scene.setClass(first, "kwin", "Kwin");
    const CTraceCapture trace;
    EXPECT_EQ("inner", captionOf(frame));
    EXPECT_TRUE(trace.has("kwindow found, looks like KDE"));
    scene.setName(frame, "own");
    EXPECT_EQ("own", captionOf(frame));
    EXPECT_EQ("own", CWindow(static_cast<long>(frame)).name());
    scene.setClass(inner, "program", "Program");
    EXPECT_EQ("inner", CWindow(static_cast<long>(frame)).name()) << "it is the frame of a program's window";
    EXPECT_EQ("", CWindow(static_cast<long>(DefaultRootWindow(g_display))).name());
}

TEST(WindowZoo, SeesMoreChildrenThanSixteenBitsCount)
{
    constexpr size_t many = 65540;
    CScene scene;
    const Window parent = scene.add({});
    for (size_t i = 0; i < many; ++i)
        XCreateSimpleWindow(scene.display(), parent, 0, 0, 1, 1, 0, 0, 0);
    scene.sync();
    EXPECT_EQ(many, childrenOf(walkDisplay(), parent).size());
    scene.destroy(parent);
}

TEST(WindowZoo, MeasuresWithoutBorders)
{
    CScene scene;
    const Window outer = scene.add({.x = 100, .y = 50, .width = 300, .height = 200, .border = 5});
    const Window inner = scene.add(outer, {.x = -10, .y = 20, .width = 40, .height = 30, .border = 3});
    EXPECT_EQ("300x200+105+55", text(rectOf(outer)));
    EXPECT_EQ("40x30+98+78", text(rectOf(inner)));
    EXPECT_EQ("0x0+0+0", text(rectOf(0x1fffffff)));
}

TEST(WindowZoo, ClimbsToTheChildOfTheRoot)
{
    CScene scene;
    const Window frame = scene.add({});
    const Window client = scene.add(frame, {});
    const Window inner = scene.add(client, {});
    const Window gone = scene.add({});
    scene.destroy(gone);
    const struct {
        Window window, parent, topLevel;
    } rows[] = {{inner, client, frame},
                {frame, scene.root(), frame},
                {scene.root(), scene.root(), scene.root()},
                {gone, gone, gone},
                {0, 0, 0}};
    for (const auto& row : rows) {
        CWindow parent;
        CWindow(static_cast<long>(row.window)).getParent(&parent);
        EXPECT_EQ(row.parent, parent.getHandle());
        EXPECT_EQ(row.topLevel, CWindow(static_cast<long>(row.window)).getTopLevelHandle());
    }
}

TEST(WindowZoo, FollowsTheFocus)
{
    CScene scene;
    const Window frame = scene.add({});
    const Window client = scene.add(frame, {});
    CWindow(static_cast<long>(client)).setFocus();
    EXPECT_EQ(client, CWindow::getFocus().getHandle());
    EXPECT_EQ(frame, CWindow::getForeground().getHandle());
    const CTraceCapture trace;
    CWindow(static_cast<long>(scene.add({.mapped = false}))).setFocus(); // refused by the server
    EXPECT_EQ(std::vector<std::string>{"BadMatch (invalid parameter attributes)/42, Minor Code: 0"},
              trace.errors());
    EXPECT_EQ(client, CWindow::getFocus().getHandle());
    const struct {
        Window focus, foreground;
    } rows[] = {{None, None}, {PointerRoot, PointerRoot}, {scene.root(), scene.root()}};
    for (const auto& row : rows) {
        XSetInputFocus(scene.display(), row.focus, RevertToNone, CurrentTime);
        scene.sync();
        EXPECT_EQ(row.foreground, CWindow::getForeground().getHandle());
    }
}

// A frame of the KDE window manager: its first child is the manager's own, the client stands in the last.
struct CKdeFrame {
    explicit CKdeFrame(CScene& scene)
        : frame(scene.add({.x = 10, .y = 10, .width = 200, .height = 200})),
          client(scene.add(frame, {.x = 4, .y = 20, .width = 150, .height = 150}))
    {
        const Window own = scene.add(frame, {.width = 10, .height = 10});
        XLowerWindow(scene.display(), own);
        scene.setClass(own, "kwin", "Kwin");
    }
    Window frame, client;
};

TEST(WindowZoo, RaisesAndMovesTheFrameUnderKde)
{
    CScene scene;
    const CKdeFrame kde(scene);
    const Window other = scene.add({});
    CWindow(static_cast<long>(kde.client)).bringToTop();
    EXPECT_EQ((std::vector<Window>{other, kde.frame}), childrenOf(walkDisplay(), scene.root()));
    const TopLevelWindow window(static_cast<long>(kde.client));
    EXPECT_TRUE(window.moveWindow(30, 40, 150, 150)); // the size of the client: only moved
    EXPECT_EQ("200x200+30+40", text(rectOf(kde.frame)));
    EXPECT_TRUE(window.moveWindow(50, 60, 100, 110));
    EXPECT_EQ("100x110+50+60", text(rectOf(kde.frame)));
    EXPECT_EQ("150x150+54+80", text(rectOf(kde.client)));
    EXPECT_TRUE(TopLevelWindow(0x1fffffff).moveWindow(1, 2, 3, 4));
}

TEST(WindowZoo, SendsTheRequestToCloseToTheClient)
{
    CScene scene;
    const CKdeFrame kde(scene);
    const Window kdeInner = scene.add(kde.client, {});
    const Window plain = scene.add({});
    scene.add(plain, {});
    const Window nameless = scene.add({});
    const Window named = scene.add(nameless, {});
    scene.setClass(nameless, "", "");
    const Window gone = scene.add({});
    scene.destroy(gone);
    const struct {
        const char* why;
        Window asked, target;
    } rows[] = {{"no WM_CLASS", plain, plain},
                {"a WM_CLASS that names nothing", nameless, named},
                {"KDE, from the frame", kde.frame, kde.client}};
    TopLevelWindow(static_cast<long>(gone)).close(); // nothing happens
    TopLevelWindow().close();
    for (const auto& row : rows) {
        TopLevelWindow(static_cast<long>(row.asked)).close();
        const auto message = scene.event(ClientMessage);
        ASSERT_TRUE(message) << row.why;
        EXPECT_EQ(row.target, message->xclient.window) << row.why;
        EXPECT_EQ(scene.atom("WM_PROTOCOLS"), message->xclient.message_type);
        EXPECT_EQ(scene.atom("WM_DELETE_WINDOW"), static_cast<Atom>(message->xclient.data.l[0]));
        EXPECT_EQ(0, message->xclient.data.l[1]);
    }
    EXPECT_NE(0u, kdeInner);
}

TEST(WindowZoo, AsksTheWindowManagerToKeepAWindowOnTop)
{
    CScene scene;
    XSelectInput(scene.display(), scene.root(), SubstructureRedirectMask);
    const Window window = scene.add({.mapped = false});
    const struct {
        bool set;
        const char* type;
        long first;
        const char* state;
    } rows[] = {{true, "_WIN_LAYER", 10, nullptr},
                {true, "_NET_WM_STATE", 1, "_NET_WM_STATE_ABOVE"},
                {true, "_NET_WM_STATE", 1, "_NET_WM_STATE_STAYS_ON_TOP"},
                {false, "_WIN_LAYER", 4, nullptr},
                {false, "_NET_WM_STATE", 0, "_NET_WM_STATE_ABOVE"},
                {false, "_NET_WM_STATE", 0, "_NET_WM_STATE_STAYS_ON_TOP"}};
    g_window_status = 0;
    CWindow(static_cast<long>(window)).setStyleTopMost();
    CWindow(static_cast<long>(window)).clearStyleTopMost();
    EXPECT_EQ(0, g_window_status);
    for (const auto& row : rows) {
        const auto message = scene.event(ClientMessage);
        ASSERT_TRUE(message);
        EXPECT_EQ(window, message->xclient.window);
        EXPECT_EQ(scene.atom(row.type), message->xclient.message_type);
        EXPECT_EQ(row.first, message->xclient.data.l[0]);
        EXPECT_EQ(row.state ? scene.atom(row.state) : 0, static_cast<Atom>(message->xclient.data.l[1]));
        EXPECT_EQ(0, message->xclient.data.l[2]);
    }
}

class UnderOpenbox : public testing::Test {
protected:
    UnderOpenbox() : m_manager({"openbox", "--sm-disable", "--startup", "echo started"})
    {
        m_manager.waitForLine("started", 30s);
        m_client = scene.add({.x = 100, .y = 100, .width = 300, .height = 200, .mapped = false});
        XSelectInput(scene.display(), m_client, StructureNotifyMask);
        Atom protocol = scene.atom("WM_DELETE_WINDOW");
        XSetWMProtocols(scene.display(), m_client, &protocol, 1);
        scene.setClass(m_client, "app", "App");
        scene.setName(m_client, "a client");
        XMapWindow(scene.display(), m_client);
        scene.sync();
        EXPECT_TRUE(within(10s, [&] { return CWindow(static_cast<long>(m_client)).isShowing(); }));
    }

    bool above(Window upper, Window lower)
    {
        const auto stack = childrenOf(walkDisplay(), scene.root());
        return std::find(stack.begin(), stack.end(), frameOf(walkDisplay(), lower)) <
               std::find(stack.begin(), stack.end(), frameOf(walkDisplay(), upper));
    }

    CScene scene;
    CProgram m_manager;
    Window m_client = 0;
};

TEST_F(UnderOpenbox, AClientIsFoundThroughItsFrame)
{
    const TopLevelWindow client(static_cast<long>(m_client));
    const Window frame = client.getTopLevelHandle();
    EXPECT_NE(m_client, frame);
    Rect rect = rectOf(m_client);
    EXPECT_EQ(m_client, TopLevelWindow(&rect).getHandle());
    Point point(rect.getLeft() + 5, rect.getTop() + 5);
    EXPECT_EQ(m_client, CWindow(&point).getHandle());
    EXPECT_EQ(frame, TopLevelWindow(&point).getHandle());
    const auto all = TopLevelWindow::ownedWindows();
    EXPECT_EQ(1, std::ranges::count_if(all, [&](const auto& window) { return window.sameHandle(&client); }));
}

TEST_F(UnderOpenbox, AClientMovesIconifiesComesBackAndCloses)
{
    const TopLevelWindow client(static_cast<long>(m_client));
    const int before = rectOf(m_client).getLeft();
    client.moveWindow(250, 260, 320, 220);
    EXPECT_TRUE(within(10s, [&] {
        const Rect now = rectOf(m_client);
        return now.getWidth() == 320 && now.getHeight() == 220 && now.getLeft() != before;
    }));
    EXPECT_FALSE(client.isIconified());
    client.iconify();
    EXPECT_TRUE(within(10s, [&] { return client.isIconified(); }));
    client.restore();
    EXPECT_TRUE(within(10s, [&] { return client.isShowing(); }));
    client.maximize();
    EXPECT_TRUE(within(10s, [&] { return rectOf(m_client).getWidth() == DisplayWidth(scene.display(), 0); }));
    EXPECT_FALSE(client.isMaximized());
    client.close();
    const auto message = scene.event(ClientMessage);
    ASSERT_TRUE(message);
    EXPECT_EQ(m_client, message->xclient.window);
}

TEST_F(UnderOpenbox, AClientIsRaisedWithItsDialogs)
{
    const Window dialog = scene.add({.width = 90, .height = 90, .mapped = false});
    scene.setClass(dialog, "app", "Dialog");
    XSetTransientForHint(scene.display(), dialog, m_client);
    XMapWindow(scene.display(), dialog);
    const Window other = scene.add({.width = 400, .height = 400, .mapped = false});
    scene.setClass(other, "other", "Other");
    XMapWindow(scene.display(), other);
    scene.sync();
    ASSERT_TRUE(within(10s, [&] { return CWindow(static_cast<long>(other)).isShowing(); }));
    CWindow(static_cast<long>(other)).bringToTop();
    EXPECT_TRUE(within(10s, [&] { return above(other, dialog) && above(other, m_client); }));
    CWindow(static_cast<long>(m_client)).activate();
    EXPECT_TRUE(within(10s, [&] { return above(dialog, m_client) && above(m_client, other); }));
}

TEST(WithoutADisplay, EveryOperationAnswersNeutrally)
{
    Display* const display = std::exchange(g_display, nullptr);
    Point point(1, 1);
    Rect rect(0, 0, 10, 10);
    CWindow* windows[4];
    TopLevelWindow* topLevels[4];
    char buffer[20] = "before";
    const TopLevelWindow window(0x400001);
    CWindow parent;
    EXPECT_EQ(0u, CWindow(&point).getHandle());
    EXPECT_EQ(0u, CWindow(&rect).getHandle());
    EXPECT_EQ(0u, TopLevelWindow(&point).getHandle());
    EXPECT_EQ(0u, TopLevelWindow(&rect).getHandle());
    EXPECT_EQ(0u, CRootWindow().getHandle());
    EXPECT_EQ(0u, CWindow::getFocus().getHandle());
    EXPECT_EQ(0u, CWindow::getForeground().getHandle());
    window.getParent(&parent);
    EXPECT_EQ(window.getHandle(), parent.getHandle());
    EXPECT_EQ(window.getHandle(), window.getTopLevelHandle());
    EXPECT_EQ(0, window.enumChildWindows(4, windows));
    EXPECT_EQ(0, window.windowsAtRectangle(&rect, 4, windows));
    EXPECT_EQ(0, window.getOwnedWindows(4, topLevels));
    EXPECT_EQ(0, window.toplevelwindowsAtRectangle(&rect, 4, topLevels));
    window.getRectangle(&rect);
    EXPECT_TRUE(rect.isZero());
    window.getWindowCaption(buffer, sizeof buffer);
    EXPECT_STREQ("", buffer);
    window.getWindowClassname(buffer, sizeof buffer);
    EXPECT_STREQ("", buffer);
    for (const bool answer : {window.isShowing(), window.isMenu(), window.isPopup(), window.isComboListBox(),
                              window.isFileDialog(), window.isIconified()})
        EXPECT_FALSE(answer);
    window.setFocus();
    EXPECT_EQ(0, window.activate());
    window.setStyleTopMost();
    window.clearStyleTopMost();
    window.maximize();
    window.iconify();
    window.restore();
    window.deiconify();
    window.close();
    EXPECT_TRUE(window.moveWindow(1, 2, 3, 4));
    g_display = display;
}
} // namespace
