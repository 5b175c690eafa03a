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
 * How launchers reach the running platform: a semaphore shows that it is alive, a named pipe takes the arguments of
 * later starts, and the pipe file {@code .pipe} in the workspace has the pipe's name.
 *
 * <p>The pipe file comes last, because a launcher that finds it uses the semaphore and the pipe at once. The launcher
 * that started this platform waits up to 15 seconds for the file, and all other launchers of the workspace wait too.
 */
final class PipeServer {
    /** Launchers look for the file once a second, so it must exist for longer. */
    private static final Duration SHORTEST_LIFE = Duration.ofMillis(1500);

    private final String pipeName;
    private final Path file;
    private final BlockingQueue<HandOff> received = new LinkedBlockingQueue<>();
    private final long publishedAt;

    private PipeServer(String leaf, Path workspace) throws IOException {
        pipeName = "\\\\.\\pipe\\" + leaf;
        file = workspace.resolve(".pipe");
        NativeBridge.createSemaphore("Global\\" + leaf + "sem");
        serve(NativeBridge.createPipeInstance(pipeName));
        writeFile();
        publishedAt = System.nanoTime();
        Runtime.getRuntime().addShutdownHook(new Thread(this::deleteFile, "pipe file removal"));
    }

    /** The name has the process id, because the platforms of all workspaces share one name space. */
    static PipeServer publish(Path workspace) throws IOException {
        return new PipeServer("com.example.platform-" + ProcessHandle.current().pid(), workspace);
    }

    /** The next text from a launcher, or null if none comes within this time. */
    HandOff await(Duration limit) throws InterruptedException {
        return received.poll(limit.toMillis(), TimeUnit.MILLISECONDS);
    }

    private void serve(long firstInstance) {
        Thread server = new Thread(() -> takeAll(firstInstance), "pipe server");
        server.setDaemon(true);
        server.start();
    }

    private void takeAll(long firstInstance) {
        long instance = firstInstance;
        try {
            while (true) {
                NativeBridge.awaitClient(instance);
                // Created first, because a launcher waits without limit for a free instance.
                long next = NativeBridge.createPipeInstance(pipeName);
                received.add(new HandOff(NativeBridge.readText(instance)));
                instance = next;
            }
        } catch (IOException failure) {
            throw new IllegalStateException("launchers cannot reach this platform any more", failure);
        }
    }

    /** By a rename, because a launcher must not find half a name. */
    private void writeFile() throws IOException {
        Path part = file.resolveSibling(".pipe.part");
        Files.writeString(part, pipeName + "\r\n", StandardCharsets.US_ASCII);
        Files.move(part, file, StandardCopyOption.REPLACE_EXISTING, StandardCopyOption.ATOMIC_MOVE);
    }

    /**
     * Must be the last step of the platform, because a launcher that finds no pipe file starts a new platform at
     * once. The next launcher treats a leftover file as the sign of a crash.
     */
    private void deleteFile() {
        try {
            Duration life = Duration.ofNanos(System.nanoTime() - publishedAt);
            Thread.sleep(Math.max(0, SHORTEST_LIFE.minus(life).toMillis()));
            Files.deleteIfExists(file);
        } catch (IOException | InterruptedException stays) {
            // The next launcher deletes it.
        }
    }
}
