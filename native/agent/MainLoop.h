/// The toolkits' main loops: how they come to start the agent and to run its requests.
///
/// Nothing happens before the program's loop has nothing better to do, so that its windows are up before the
/// JVM starts. From then on the loop watches the descriptors of the requests; nested loops, those of modal
/// dialogs too, watch them as well.
#pragma once

struct _XDisplay;

namespace XtLoop {
/// The program's Xt has taken on a display. On the thread that opened it.
void onDisplayOpened(_XDisplay* display);
/// A display, of Xt or not, is about to be closed.
void onDisplayClosing(_XDisplay* display);
/// Has the loop come by, once it has been idle: one that the program runs itself may wait for its display
/// alone, and does not know what else Xt watches. Any thread.
void knock();
} // namespace XtLoop

namespace GlibLoop {
/// The program's GDK has opened a display. On any thread; the one that runs the default main context is the
/// GUI thread.
void onDisplayOpened();
} // namespace GlibLoop
