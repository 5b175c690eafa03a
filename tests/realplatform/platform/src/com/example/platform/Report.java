package com.example.platform;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.TreeMap;
import java.util.stream.Collectors;
import org.eclipse.equinox.app.IApplicationContext;
import org.eclipse.osgi.service.environment.EnvironmentInfo;
import org.osgi.framework.Bundle;
import org.osgi.framework.BundleContext;
import org.osgi.framework.Constants;
import org.osgi.framework.FrameworkUtil;

/**
 * Records what the launcher gave this platform, for tests and readers, in UTF-8. Each file is written under another
 * name and renamed, so that no reader finds an incomplete one.
 */
final class Report {
    private final Path directory;
    private int handOffs;

    Report(Path directory) throws IOException {
        this.directory = Files.createDirectories(directory);
        removeEarlierFiles();
    }

    void start(IApplicationContext application, Directories directories) throws IOException {
        BundleContext context = FrameworkUtil.getBundle(Report.class).getBundleContext();
        EnvironmentInfo environment = context.getService(context.getServiceReference(EnvironmentInfo.class));
        String[] arguments = (String[]) application.getArguments().get(IApplicationContext.APPLICATION_ARGS);
        write("command.txt", NativeBridge.commandLine());
        write("arguments.txt", lines(environment.getCommandLineArgs()));
        write("application-arguments.txt", lines(arguments));
        write("environment.txt", lines(System.getenv()));
        write("properties.txt", lines(System.getProperties()));
        write("platform.txt", lines(summary(application, context, directories)));
    }

    /** From now on the platform serves its pipe. */
    void running() throws IOException {
        write("running.txt", "");
    }

    void handOff(HandOff handOff) throws IOException {
        handOffs++;
        write("payload-" + handOffs + ".bin", handOff.bytes());
        write("payload-" + handOffs + ".txt", String.join("\n", handOff.arguments()) + "\n");
    }

    void end(int exitCode) throws IOException {
        write("ended.txt", "exit=" + exitCode + "\n");
    }

    private void removeEarlierFiles() throws IOException {
        try (DirectoryStream<Path> files = Files.newDirectoryStream(directory)) {
            for (Path file : files) {
                Files.delete(file);
            }
        }
    }

    private static Map<String, String> summary(
            IApplicationContext application, BundleContext context, Directories directories) {
        Bundle framework = context.getBundle(Constants.SYSTEM_BUNDLE_LOCATION);
        Map<String, String> summary = new LinkedHashMap<>();
        summary.put("framework", framework.getSymbolicName() + " " + framework.getVersion());
        summary.put("java", System.getProperty("java.vm.name") + " " + Runtime.version());
        summary.put("pid", Long.toString(ProcessHandle.current().pid()));
        summary.put("product", application.getBrandingId());
        summary.put("workspace", directories.workspace().toString());
        summary.put("configuration", directories.configuration().toString());
        summary.put("memory", Long.toString(Runtime.getRuntime().maxMemory()));
        summary.put("boot", isOnBootClassPath("com.example.boot.Marker") ? "extended" : "plain");
        return summary;
    }

    private static boolean isOnBootClassPath(String name) {
        try {
            return Class.forName(name, false, null).getClassLoader() == null;
        } catch (ClassNotFoundException absent) {
            return false;
        }
    }

    private static String lines(String[] arguments) {
        return Arrays.stream(arguments).map(argument -> argument + "\n").collect(Collectors.joining());
    }

    /** One entry on each line, sorted unless the map has an order; line ends in values are escaped. */
    private static String lines(Map<?, ?> entries) {
        Map<?, ?> ordered = entries instanceof LinkedHashMap ? entries : new TreeMap<>(entries);
        return ordered.entrySet().stream()
                .map(entry -> entry.getKey() + "=" + entry.getValue())
                .map(line -> line.replace("\r", "\\r").replace("\n", "\\n") + "\n")
                .collect(Collectors.joining());
    }

    private void write(String name, String text) throws IOException {
        write(name, text.getBytes(StandardCharsets.UTF_8));
    }

    private void write(String name, byte[] bytes) throws IOException {
        Path part = directory.resolve(name + ".part");
        Files.write(part, bytes);
        Files.move(part, directory.resolve(name), StandardCopyOption.REPLACE_EXISTING);
    }
}
