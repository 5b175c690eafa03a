package com.example.platform;

import java.util.List;

/**
 * What the arguments ask of this platform. A platform with windows would open a file or come to the front; this one
 * only ends or restarts.
 */
sealed interface Order {
    /** {@code -exit <code>}: end with this exit code; on 23 the native platform launcher starts the platform again. */
    record Exit(int code) implements Order {
    }

    /** {@code -restartPlatform}: end, and let the launcher start the platform again with its first arguments. */
    record Restart() implements Order {
    }

    /** Nothing. */
    record Ignore() implements Order {
    }

    static Order of(List<String> arguments) {
        int exit = arguments.indexOf("-exit");
        if (exit >= 0 && exit + 1 < arguments.size()) {
            return new Exit(Integer.parseInt(arguments.get(exit + 1)));
        }
        return arguments.contains("-restartPlatform") ? new Restart() : new Ignore();
    }
}
