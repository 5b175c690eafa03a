package com.example.platform;

import java.io.IOException;
import java.io.Reader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Properties;

/**
 * A restart that the platform asks for itself: a new launcher with the words of the first start, which the
 * launcher keeps in {@code args.properties}, and with {@code -restart -zel_old_pid <number>}. It waits up to 20
 * seconds for this platform to end, so it is started before the end and not waited for.
 */
final class PlatformRestart {
    private PlatformRestart() {
    }

    static void begin(Directories directories) throws IOException {
        List<String> command = wordsOfFirstStart(directories.configuration().resolve("args.properties"));
        command.add("-restart");
        command.add("-zel_old_pid");
        command.add(recordedNumber(directories.workspace()));
        new ProcessBuilder(command)
                .redirectOutput(ProcessBuilder.Redirect.DISCARD)
                .redirectError(ProcessBuilder.Redirect.DISCARD)
                .start();
    }

    private static List<String> wordsOfFirstStart(Path file) throws IOException {
        Properties arguments = new Properties();
        try (Reader reader = Files.newBufferedReader(file, StandardCharsets.ISO_8859_1)) {
            arguments.load(reader);
        }
        int count = Integer.parseInt(arguments.getProperty("argc"));
        List<String> words = new ArrayList<>();
        for (int i = 0; i < count; i++) {
            words.add(arguments.getProperty("arg" + i));
        }
        return words;
    }

    /**
     * The process that the launcher started and recorded. Under the native launcher this is the native
     * launcher's number, which is another than the JVM's when the JVM runs beside it.
     */
    private static String recordedNumber(Path workspace) throws IOException {
        return Files.readString(workspace.resolve(".zel.main"), StandardCharsets.ISO_8859_1).strip();
    }
}
