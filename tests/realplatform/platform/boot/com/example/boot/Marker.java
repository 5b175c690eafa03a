package com.example.boot;

/** Can be found only if the JVM got the launcher's option for the boot class path. */
public final class Marker {
    private Marker() {
    }
}
