package com.example.boot;

/** Stands on the boot class path alone, so who finds it knows that the launcher's option for it arrived. */
public final class Marker {
    private Marker() {
    }
}
