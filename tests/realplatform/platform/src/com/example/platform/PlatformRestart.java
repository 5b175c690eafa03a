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
 * Restarts the platform: starts a new launcher with the arguments of the first start, which the launcher keeps in
 * {@code args.properties}, and with {@code -restart -zel_old_pid <process id>}. The launcher waits up to 20 seconds
 * for this platform to end.
 */
final class PlatformRestart {
    private PlatformRestart() {
    }

    static void begin(Directories directories) throws IOException {
        List<String> command = commandOfFirstStart(directories.configuration().resolve("args.properties"));
        command.add("-restart");
        command.add("-zel_old_pid");
        command.add(recordedProcessId(directories.workspace()));
        new ProcessBuilder(command)
                .redirectOutput(ProcessBuilder.Redirect.DISCARD)
                .redirectError(ProcessBuilder.Redirect.DISCARD)
                .start();
    }

    private static List<String> commandOfFirstStart(Path file) throws IOException {
        Properties arguments = new Properties();
        try (Reader reader = Files.newBufferedReader(file, StandardCharsets.ISO_8859_1)) {
            arguments.load(reader);
        }
        int count = Integer.parseInt(arguments.getProperty("argc"));
        List<String> command = new ArrayList<>();
        for (int i = 0; i < count; i++) {
            command.add(arguments.getProperty("arg" + i));
        }
        return command;
    }

    /**
     * The process that the launcher started. This is the native platform launcher; the JVM may be another process.
     */
    private static String recordedProcessId(Path workspace) throws IOException {
        return Files.readString(workspace.resolve(".zel.main"), StandardCharsets.ISO_8859_1).strip();
    }
}
