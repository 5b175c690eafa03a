package com.example.platform;

import java.io.IOException;
import java.time.Duration;
import org.eclipse.equinox.app.IApplication;
import org.eclipse.equinox.app.IApplicationContext;

/** The platform's normal life: it tells that it runs, takes what later starts hand over, and ends when told. */
public final class MainApplication implements IApplication {
    @Override
    public Object start(IApplicationContext context) throws IOException, InterruptedException {
        Directories directories = Directories.ofThisPlatform();
        Report report = new Report(directories.workspace().resolve("platform"));
        report.start(context, directories);
        Endpoint endpoint = Endpoint.publish(directories.workspace());
        context.applicationRunning();
        report.running();
        int exitCode = live(endpoint, report, directories);
        report.end(exitCode);
        return exitCode;
    }

    @Override
    public void stop() {
        // Asked for by the framework alone, when it is shut down by other means; the end is the same.
    }

    private static int live(Endpoint endpoint, Report report, Directories directories)
            throws IOException, InterruptedException {
        Duration bound = Duration.ofSeconds(Long.getLong("com.example.platform.idleSeconds", Integer.MAX_VALUE));
        for (HandOff handOff; (handOff = endpoint.await(bound)) != null;) {
            report.handOff(handOff);
            Order order = Order.of(handOff.words());
            if (order instanceof Order.Exit exit) {
                return exit.code();
            }
            if (order instanceof Order.Restart) {
                PlatformRestart.begin(directories);
                return IApplication.EXIT_OK;
            }
        }
        return IApplication.EXIT_OK;
    }
}
