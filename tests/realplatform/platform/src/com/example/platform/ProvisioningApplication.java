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
 * Runs before the first normal start of a user and after each update of the install. A real one installs
 * features; this one does what every one must do: it notes in the user's {@code zelinstall.properties} which
 * manifest version has been provisioned. Without that note the next start would provision again.
 */
public final class ProvisioningApplication implements IApplication {
    private static final String KEY = "provisioning.manifest.version";

    @Override
    public Object start(IApplicationContext context) throws IOException {
        Directories directories = Directories.ofThisPlatform();
        Report report = new Report(directories.workspace().resolve("provisioning"));
        report.start(context, directories);
        // The launcher waits for the file .pipe here too, and 15 seconds when it does not come.
        Endpoint.publish(directories.workspace());
        report.running();
        note(directories.configuration().resolve("zelinstall.properties"), shippedVersion());
        report.end(IApplication.EXIT_OK);
        return IApplication.EXIT_OK;
    }

    @Override
    public void stop() {
        // It is over in no time.
    }

    private static String shippedVersion() throws IOException {
        Path file = Path.of(System.getProperty("zel.home"), "zel", "zellauncher.properties");
        Properties properties = new Properties();
        try (Reader reader = Files.newBufferedReader(file, StandardCharsets.ISO_8859_1)) {
            properties.load(reader);
        }
        return properties.getProperty(KEY);
    }

    /** All other lines stay as they are: the launcher wrote them, and reads them again at the next start. */
    private static void note(Path file, String version) throws IOException {
        List<String> lines = new ArrayList<>(Files.readAllLines(file, StandardCharsets.ISO_8859_1));
        lines.removeIf(line -> line.startsWith(KEY + "="));
        lines.add(KEY + "=" + version);
        Files.write(file, lines, StandardCharsets.ISO_8859_1);
    }
}
