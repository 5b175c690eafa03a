package com.example.platform;

import java.io.IOException;
import java.time.Duration;
import java.util.List;
import org.eclipse.equinox.app.IApplication;
import org.eclipse.equinox.app.IApplicationContext;

/** The platform's normal run: reports its start, serves later starts and ends on request. */
public final class MainApplication implements IApplication {
    @Override
    public Object start(IApplicationContext context) throws IOException, InterruptedException {
        Directories directories = Directories.ofThisPlatform();
        Report report = new Report(directories.workspace().resolve("platform"));
        report.start(context, directories);
        PipeServer pipeServer = PipeServer.publish(directories.workspace());
        context.applicationRunning();
        report.running();
        int exitCode = live(argumentsOf(context), pipeServer, report, directories);
        report.end(exitCode);
        return exitCode;
    }

    @Override
    public void stop() {
        // Called only when the framework shuts down by itself; there is nothing to do.
    }

    private static List<String> argumentsOf(IApplicationContext context) {
        return List.of((String[]) context.getArguments().get(IApplicationContext.APPLICATION_ARGS));
    }

    /** Arguments of the first start are treated like those of later starts. */
    private static int live(
            List<String> arguments, PipeServer pipeServer, Report report, Directories directories)
            throws IOException, InterruptedException {
        Duration limit = Duration.ofSeconds(Long.getLong("com.example.platform.idleSeconds", Integer.MAX_VALUE));
        Order order = Order.of(arguments);
        for (HandOff handOff; order instanceof Order.Ignore && (handOff = pipeServer.await(limit)) != null;) {
            report.handOff(handOff);
            order = Order.of(handOff.arguments());
        }
        if (order instanceof Order.Restart) {
            PlatformRestart.begin(directories);
        }
        return order instanceof Order.Exit exit ? exit.code() : IApplication.EXIT_OK;
    }
}
