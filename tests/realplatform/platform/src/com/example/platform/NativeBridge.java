package com.example.platform;

import java.io.IOException;

/**
 * The Windows functions that Java lacks. The library is found through {@code java.library.path}, which the launcher
 * sets from {@code library.path.prepend} and {@code jvm.library.path}.
 */
final class NativeBridge {
    static {
        System.loadLibrary("platformbridge");
    }

    private NativeBridge() {
    }

    /** Creates a named semaphore that exists until this process ends. */
    static native void createSemaphore(String name) throws IOException;

    /** Creates an instance of a named pipe, for one client. */
    static native long createPipeInstance(String name) throws IOException;

    /** Waits for a client of the instance. Returns at once if one has connected, even if it has closed its end. */
    static native void awaitClient(long instance) throws IOException;

    /** Reads the text up to its two-byte NUL, or until the client closes its end, and closes the instance. */
    static native byte[] readText(long instance);

    /** The command line of this process. Unlike Java's arguments it did not go through a code page. */
    static native String commandLine();
}
