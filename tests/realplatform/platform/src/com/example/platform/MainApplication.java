package com.example.platform;

import java.io.IOException;
import java.time.Duration;
import java.util.List;
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
        int exitCode = live(wordsOf(context), endpoint, report, directories);
        report.end(exitCode);
        return exitCode;
    }

    @Override
    public void stop() {
        // Asked for by the framework alone, when it is shut down by other means; the end is the same.
    }

    private static List<String> wordsOf(IApplicationContext context) {
        return List.of((String[]) context.getArguments().get(IApplicationContext.APPLICATION_ARGS));
    }

    /** The words of the first start count like those that later starts hand over. */
    private static int live(
            List<String> words, Endpoint endpoint, Report report, Directories directories)
            throws IOException, InterruptedException {
        Duration bound = Duration.ofSeconds(Long.getLong("com.example.platform.idleSeconds", Integer.MAX_VALUE));
        Order order = Order.of(words);
        for (HandOff handOff; order instanceof Order.Ignore && (handOff = endpoint.await(bound)) != null;) {
            report.handOff(handOff);
            order = Order.of(handOff.words());
        }
        if (order instanceof Order.Restart) {
            PlatformRestart.begin(directories);
        }
        return order instanceof Order.Exit exit ? exit.code() : IApplication.EXIT_OK;
    }
}
