package com.example.platform;

import java.io.IOException;
import java.net.URL;
import java.nio.file.Path;
import org.eclipse.osgi.service.datalocation.Location;
import org.osgi.framework.BundleContext;
import org.osgi.framework.FrameworkUtil;
import org.osgi.framework.InvalidSyntaxException;
import org.osgi.framework.ServiceReference;

/**
 * The directories that the launcher chose with {@code -data} and {@code -configuration}, as the framework knows them.
 * The system properties {@code zel.data} and {@code zel.home} name directories too, but they went through the
 * machine's code page.
 */
record Directories(Path workspace, Path configuration) {
    static Directories ofThisPlatform() throws IOException {
        return new Directories(path(Location.INSTANCE_FILTER), path(Location.CONFIGURATION_FILTER));
    }

    private static Path path(String filter) throws IOException {
        BundleContext context = FrameworkUtil.getBundle(Directories.class).getBundleContext();
        try {
            ServiceReference<Location> reference =
                    context.getServiceReferences(Location.class, filter).iterator().next();
            return pathOf(context.getService(reference).getURL());
        } catch (InvalidSyntaxException impossible) {
            throw new IOException(impossible);
        }
    }

    /** The framework does not escape anything when it makes a URL of a path. */
    private static Path pathOf(URL url) {
        String path = url.getPath();
        return Path.of(path.startsWith("/") ? path.substring(1) : path);
    }
}
