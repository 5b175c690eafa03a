package com.example.platform;

import java.io.IOException;
import java.io.Reader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Properties;
import org.eclipse.equinox.app.IApplication;
import org.eclipse.equinox.app.IApplicationContext;

/**
 * Runs before the first normal start of a user and after each update of the install. A real one installs features;
 * this one only does what each must do: it records the provisioned manifest version in the user's
 * {@code zelinstall.properties}. Otherwise the next start would provision again.
 */
public final class ProvisioningApplication implements IApplication {
    private static final String KEY = "provisioning.manifest.version";

    @Override
    public Object start(IApplicationContext context) throws IOException {
        Directories directories = Directories.ofThisPlatform();
        Report report = new Report(directories.workspace().resolve("provisioning"));
        report.start(context, directories);
        // The launcher waits up to 15 seconds for .pipe here too.
        PipeServer.publish(directories.workspace());
        report.running();
        record(directories.configuration().resolve("zelinstall.properties"), shippedVersion());
        report.end(IApplication.EXIT_OK);
        return IApplication.EXIT_OK;
    }

    @Override
    public void stop() {
        // It ends by itself.
    }

    private static String shippedVersion() throws IOException {
        Path file = Path.of(System.getProperty("zel.home"), "zel", "zellauncher.properties");
        Properties properties = new Properties();
        try (Reader reader = Files.newBufferedReader(file, StandardCharsets.ISO_8859_1)) {
            properties.load(reader);
        }
        return properties.getProperty(KEY);
    }

    /** Keeps all other lines, because the launcher reads them at the next start. */
    private static void record(Path file, String version) throws IOException {
        List<String> lines = new ArrayList<>(Files.readAllLines(file, StandardCharsets.ISO_8859_1));
        lines.removeIf(line -> line.startsWith(KEY + "="));
        lines.add(KEY + "=" + version);
        Files.write(file, lines, StandardCharsets.ISO_8859_1);
    }
}
