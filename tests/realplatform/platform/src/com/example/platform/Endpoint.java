package com.example.platform;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.time.Duration;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;

/**
 * Where launchers reach a running platform: a semaphore that tells that it runs, a named pipe that takes the
 * words of later starts, and the file {@code .pipe} in the workspace that names both.
 *
 * <p>The order matters. A launcher that finds {@code .pipe} believes the semaphore and writes to the pipe at
 * once, so the file comes last. The launcher that started this platform waits for the file, at most 15
 * seconds, and keeps all other launchers of the workspace waiting as long.
 */
final class Endpoint {
    /** Launchers look for the file once a second; one that is gone sooner may never have been seen. */
    private static final Duration SHORTEST_LIFE = Duration.ofMillis(1500);

    private final String pipeName;
    private final Path file;
    private final BlockingQueue<HandOff> received = new LinkedBlockingQueue<>();
    private final long publishedAt;

    private Endpoint(String leaf, Path workspace) throws IOException {
        pipeName = "\\\\.\\pipe\\" + leaf;
        file = workspace.resolve(".pipe");
        NativeBridge.createSemaphore("Global\\" + leaf + "sem");
        serve(NativeBridge.createPipeInstance(pipeName));
        writeFile();
        publishedAt = System.nanoTime();
        Runtime.getRuntime().addShutdownHook(new Thread(this::withdraw, "endpoint withdrawal"));
    }

    /** The name is this platform's own, and new for each process: a workspace has one, a machine has many. */
    static Endpoint publish(Path workspace) throws IOException {
        return new Endpoint("com.example.platform-" + ProcessHandle.current().pid(), workspace);
    }

    /** The next words that a launcher handed over; null when none came in this time. */
    HandOff await(Duration bound) throws InterruptedException {
        return received.poll(bound.toMillis(), TimeUnit.MILLISECONDS);
    }

    private void serve(long firstInstance) {
        Thread server = new Thread(() -> takeAll(firstInstance), "endpoint");
        server.setDaemon(true);
        server.start();
    }

    private void takeAll(long firstInstance) {
        long instance = firstInstance;
        try {
            while (true) {
                NativeBridge.awaitClient(instance);
                // A launcher waits without limit for a free instance, so the next one is there at once.
                long next = NativeBridge.createPipeInstance(pipeName);
                received.add(new HandOff(NativeBridge.readText(instance)));
                instance = next;
            }
        } catch (IOException failure) {
            throw new IllegalStateException("no launcher can reach this platform any more", failure);
        }
    }

    /** Whole or not at all: a launcher that found half a name would look for a platform that is not there. */
    private void writeFile() throws IOException {
        Path part = file.resolveSibling(".pipe.part");
        Files.writeString(part, pipeName + "\r\n", StandardCharsets.US_ASCII);
        Files.move(part, file, StandardCopyOption.REPLACE_EXISTING, StandardCopyOption.ATOMIC_MOVE);
    }

    /**
     * At the very end, when nothing of this platform runs any more: a launcher that finds no file starts a new
     * platform at once. A file that stays behind tells the next launcher of a crash.
     */
    private void withdraw() {
        try {
            Duration life = Duration.ofNanos(System.nanoTime() - publishedAt);
            Thread.sleep(Math.max(0, SHORTEST_LIFE.minus(life).toMillis()));
            Files.deleteIfExists(file);
        } catch (IOException | InterruptedException stays) {
            // The next launcher deletes it.
        }
    }
}
