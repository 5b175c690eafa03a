package com.example.platform;

import java.nio.charset.StandardCharsets;
import java.util.List;

/**
 * A text that a launcher wrote to the pipe: the arguments of its command in UTF-16, separated by line feeds, with a
 * NUL at the end. The first is the program; the user's own arguments come before {@code -vmargs}.
 */
record HandOff(byte[] bytes) {
    List<String> arguments() {
        String text = new String(bytes, StandardCharsets.UTF_16LE);
        int end = text.indexOf('\0');
        return List.of((end < 0 ? text : text.substring(0, end)).split("\n", -1));
    }
}
