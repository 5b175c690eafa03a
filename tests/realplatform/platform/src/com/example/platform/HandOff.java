package com.example.platform;

import java.nio.charset.StandardCharsets;
import java.util.List;

/**
 * One text that a launcher wrote to the pipe: the words of its command, separated by line feeds, in UTF-16
 * with a NUL at the end. The first word is the program; the user's own words stand among those in front of
 * {@code -vmargs}.
 */
record HandOff(byte[] bytes) {
    List<String> words() {
        String text = new String(bytes, StandardCharsets.UTF_16LE);
        int end = text.indexOf('\0');
        return List.of((end < 0 ? text : text.substring(0, end)).split("\n", -1));
    }
}
