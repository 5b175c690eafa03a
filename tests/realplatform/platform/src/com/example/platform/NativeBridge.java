package com.example.platform;

import java.io.IOException;

/**
 * What the platform needs of Windows and Java has no words for. The library lies in a directory of
 * {@code java.library.path}, which the launcher sets from {@code library.path.prepend} and
 * {@code jvm.library.path}.
 */
final class NativeBridge {
    static {
        System.loadLibrary("platformbridge");
    }

    private NativeBridge() {
    }

    /** Creates a named semaphore and keeps it until this process ends, however it ends. */
    static native void createSemaphore(String name) throws IOException;

    /** Creates an instance of a named pipe, to which one client can connect. */
    static native long createPipeInstance(String name) throws IOException;

    /** Waits for a client of the instance; one that came and went already counts. */
    static native void awaitClient(long instance) throws IOException;

    /** Reads what the client writes, up to a NUL of two bytes or to the client's end, and closes the instance. */
    static native byte[] readText(long instance);

    /** The command line of this process as the system has it; Java's own arguments went through a code page. */
    static native String commandLine();
}
