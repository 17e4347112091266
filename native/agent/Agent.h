/// The part of an application under test that is not the application's own: brings the JVM, the library and
/// the Java agent into the process, and lets the toolkit's main loop run what they ask for.
#pragma once

struct _XDisplay;

class CAgent {
public:
    /// Begins to bring everything in, on a thread of its own, which makes the JVM: that takes some 100 ms,
    /// for which the program goes on. Called from a main loop once it runs; later calls begin nothing.
    /// @return a descriptor that becomes readable, and stays so, when it is time to call `start`; -1 for
    /// never
    static int begin();
    /// Brings in the rest. Called from the main loop; the first thread to do so becomes the GUI thread, on
    /// which requests run. Later calls only answer.
    /// @return whether requests can be delivered on the calling thread. When not, the reason has been written
    /// as one line, and the program runs on as it is.
    static bool start();
    /// Descriptors for the main loop to watch once `start` has said yes; see gxRequestDescriptors.
    /// @return how many of `out`, which has room for two
    static int descriptors(int* out);
    /// Runs what waits for the GUI thread; called by the main loop when one of them is readable.
    static void deliver();

    /// Makes a display the one that the library looks widgets up on; null for none. Any time, also before
    /// `start`.
    static void setXtDisplay(_XDisplay* display);
    /// The toolkit has opened a display. The first one counts: the library works on that of DISPLAY, and a
    /// program that was told another one in its arguments costs a line that says so.
    static void noteDisplay(_XDisplay* display);
};
