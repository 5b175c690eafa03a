package com.example.platform;

import java.util.List;

/**
 * What this platform does when a launcher hands words over. A platform with windows would open a file or come
 * to the front; this one ends or starts anew when it is told to.
 */
sealed interface Order {
    /** {@code -exit <code>}: end with this exit code; 23 asks the native launcher to start the platform again. */
    record Exit(int code) implements Order {
    }

    /** {@code -restartPlatform}: end, and have the launcher start the platform again as it first was. */
    record Restart() implements Order {
    }

    /** Nothing in particular. */
    record Ignore() implements Order {
    }

    static Order of(List<String> words) {
        int exit = words.indexOf("-exit");
        if (exit >= 0 && exit + 1 < words.size()) {
            return new Exit(Integer.parseInt(words.get(exit + 1)));
        }
        return words.contains("-restartPlatform") ? new Restart() : new Ignore();
    }
}
