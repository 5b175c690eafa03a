#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/registry.h"

// A Windows machine in memory: the second implementation of the seam in src/platform, for tests.
//
// A machine has drives with files, processes, a clock, an environment, users, a registry. A program
// is a function; each process runs its program on a thread of its own, but only one of them runs at
// any time. Every operation of the seam is a point at which the machine may let another process go
// on: which one is drawn from a generator with the machine's seed, so the same seed gives the same
// run. The clock stands still while anybody works; when all processes sleep, it jumps to the moment
// at which the first of them wakes. Twenty seconds of waiting thus cost no time.
//
// The process-wide state of the launcher is thread_local in this build (PROCESS_WIDE), so each
// process has its own, fresh at its start.
namespace simulation {

using Program = std::function<int()>;

enum class EndKind {
    exited,           // exitProcess, or the program returned
    accessViolation,  // endWithAccessViolation; the status is 0xC0000005
    stoppedDead,      // killed by the test at an operation
    ranAway,          // ended by the machine: more operations than limitOperations allows
};

struct ProcessEnd {
    EndKind kind = EndKind::exited;
    std::uint32_t status = 0;
};

using ProcessId = std::uint32_t;

// What createProcess was asked for, in order, failed attempts included.
struct StartedProcess {
    std::wstring commandLine;
    platform::StartInformation start;
    std::map<std::wstring, std::wstring> environment;  // names as they were set
    ProcessId id = 0;                                  // 0 when the start failed
    ProcessId parent = 0;
    bool started = false;
};

// One call of the seam, for assertions about access patterns.
struct Operation {
    std::string name;       // of the seam's function, e.g. "createDirectory"
    std::wstring argument;  // its first text argument, or empty
    ProcessId process = 0;
    std::uint64_t index = 0;  // 1 for the first operation of the machine
    bool writes = false;      // it needs room on the disk: makes a file, writes, or writes out
    platform::ErrorCode fault = platform::errorSuccess;  // the error that a fault gave it
};

// A value of the registry: a text, or a 32-bit number.
struct RegistryValue {
    std::wstring text;
    std::optional<std::uint32_t> number;
};

// A call that would have ended the user's session. On this machine the session goes on.
struct SessionEnd {
    std::uint32_t how = 0;
    std::uint32_t reason = 0;
    bool wasPrivileged = false;  // the privilege to shut down was enabled at that moment
};

// The errors that the system can give for such an operation, besides those that follow from what the
// machine holds: what a scanner, another program, a full or failing disk or a share does to a caller
// at any moment. Empty for an operation that cannot fail, or whose failure nobody can see.
std::vector<platform::ErrorCode> errorsOf(const Operation& operation);

// How injected failures are chosen. Operations are counted for the whole machine from 1, or, with a
// name, among those of that name (and that begin of the argument, compared without regard to case).
struct Fault {
    std::string operation;          // empty: any operation that can fail
    std::wstring argumentEndsWith;  // empty: any argument
    std::uint64_t nth = 1;          // the first one that fails, counted from the call of inject
    bool fromThenOn = false;        // else only that one
    platform::ErrorCode error = platform::errorAccessDenied;
    ProcessId process = 0;           // 0: of any process
    bool onlyWherePossible = false;  // an operation whose errorsOf does not hold the error is spared
};

// What becomes of the data that a process has in its hands when it is stopped dead: what it wrote and
// its streams have not written out, and a copy that it is making.
enum class UnflushedData { lost, kept, partlyWritten };

struct Stop {
    std::uint64_t nth = 1;  // in place of this operation, counted from the call of stopDead
    ProcessId process = 0;  // 0: of any process, and the one that makes it is stopped
    // Partly written: half of each buffer, and of the file when the operation is copyFile.
    UnflushedData data = UnflushedData::lost;
};

// The files and directories of all drives at one moment.
class DiskImage {
private:
    friend class Machine;
    struct Content;
    std::shared_ptr<const Content> content;
};

// How often the seeded generator interferes. Rare switches let one process get far ahead of another,
// which many switches hardly ever do; stalls let time pass in the middle of somebody's work.
struct Switching {
    std::uint32_t oneIn = 1;       // operations at whose head the next process is drawn
    std::uint32_t stallOneIn = 0;  // operations at whose head the process stalls; 0 for none
    std::uint32_t longestStallMilliseconds = 1;
};

// Time that passes in the middle of somebody's work at a chosen place: at the head of the next operation of
// this name whose argument ends so.
struct Stall {
    std::string operation;
    std::wstring argumentEndsWith;
    std::uint32_t milliseconds = 0;
};

// A point at which more than one process could go on, as followChoices met it.
struct SwitchingPoint {
    std::size_t candidates = 0;
    std::size_t habit = 0;        // the candidate who goes on without a choice
    std::size_t chosen = 0;       // the candidate who did
    bool canContinue = false;     // the process that ran is a candidate: another one pre-empts it
    std::uint64_t operation = 0;  // of the machine, the last one before this point
};

// The candidate, counted from 0 in the order of their numbers, who goes on at a switching point,
// counted from 0.
struct Choice {
    std::uint64_t point = 0;
    std::size_t candidate = 0;
};

class MachineState;

class Machine {
public:
    explicit Machine(std::uint64_t seed = 1);
    ~Machine();  // processes that still run are stopped
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // --- Running programs -----------------------------------------------------------------------

    // Starts a program as somebody would from the desktop: its words are what
    // commandLineArguments() returns, its environment is a copy of the machine's at this moment, its
    // module file is word 0 made full. It begins to run when the machine does.
    ProcessId start(const std::vector<std::wstring>& words, Program program);

    // Runs the machine until this process has ended, others taking their turns meanwhile.
    ProcessEnd waitFor(ProcessId process);

    // start and waitFor in one.
    ProcessEnd run(const std::vector<std::wstring>& words, Program program);

    // The same for at most this much simulated time; nothing when it still runs then.
    std::optional<ProcessEnd> waitFor(ProcessId process, std::uint64_t limitMilliseconds);

    // Runs the machine until no process is left, or until this much simulated time has passed.
    void runUntilIdle(std::uint64_t limitMilliseconds);

    // A process that makes more operations than this is ended (ranAway). At the start it is a bound
    // that only a program that never ends can reach, and that ends the test.
    void limitOperations(std::uint64_t ofEachProcess);

    bool isRunning(ProcessId process) const;
    ProcessEnd endOf(ProcessId process) const;  // of one that has ended

    // --- Who goes on ----------------------------------------------------------------------------

    void setSwitching(const Switching& switching);

    // One stall, in place of the one before; it happens wherever switching points are.
    void stallOnce(const Stall& stall);

    // Only the operations (name, first text argument) that this says are switching points.
    void switchOnlyAt(std::function<bool(const char*, const std::wstring&)> isSwitchingOperation);

    // From now on nothing is drawn: a process goes on until it sleeps or ends, then the first one that
    // can, but where a choice names another. Choices are sorted by their points. What a run without
    // choices met, and every choice that can be made there, tells how to go through all schedules.
    void followChoices(const std::vector<Choice>& choices);
    const std::vector<SwitchingPoint>& switchingPoints() const;

    // Called at the end of each process, when it has given back what it held.
    void whenEnded(std::function<void(ProcessId)> observer);

    // What createProcess starts for the program file at this path: the file is made (empty) and the
    // program stands for its content. A file without a program cannot be started (error 193).
    void installProgram(const std::wstring& path, Program program);

    const std::vector<StartedProcess>& startedProcesses() const;

    // --- Files, as the test sees them: nothing here counts as an operation ------------------------

    void makeDirectory(const std::wstring& path);                          // all levels
    void writeFile(const std::wstring& path, const std::string& content);  // and its directories
    std::optional<std::string> readFile(const std::wstring& path) const;   // what is on the disk
    bool exists(const std::wstring& path) const;
    bool isDirectory(const std::wstring& path) const;
    std::uint32_t attributes(const std::wstring& path) const;  // 0 when it does not exist
    void setAttributes(const std::wstring& path, std::uint32_t attributes);
    void remove(const std::wstring& path);  // a whole tree
    // Every path below the root, full, with backslashes, sorted; directories end in `\`.
    std::vector<std::wstring> tree(const std::wstring& root) const;
    // The disks as they are now, and as they were: for many runs from one beginning. Nothing may be open
    // when they are put back; what was refused is no more, and programs stay where they were installed.
    DiskImage saveDisks() const;
    void loadDisks(const DiskImage& image);
    // The power fails while nobody runs: names and directories are on the device, as a journal keeps them,
    // but what programs have written since the disks were made or put back is not. A file has the content
    // that it had before; a new one is empty.
    void losePower();
    // Every open, change or removal of this file or directory (not what lies in it) fails with this
    // error from now on; errorSuccess takes that back. Looking at it still works.
    void refuse(const std::wstring& path, platform::ErrorCode error);
    // Bytes that can still be written before errorDiskFull; nothing for no limit.
    void setFreeSpace(std::optional<std::uint64_t> bytes);
    // Holds a file open as another program would that shares nothing.
    void holdOpen(const std::wstring& path);
    void releaseOpen(const std::wstring& path);

    // --- Environment, user, system ---------------------------------------------------------------

    // For programs that are started from now on. TEMP, HOMEDRIVE, HOMEPATH, USERNAME, USERPROFILE and
    // PATH are set at the start: C:\Temp, C:, \Users\ann, ann, C:\Users\ann, C:\Windows\System32.
    void setEnvironment(const std::wstring& name, const std::wstring& value);
    void unsetEnvironment(const std::wstring& name);
    void setCurrentDirectory(const std::wstring& path);  // C:\ at the start

    void setUser(const std::wstring& name, const std::vector<std::wstring>& localGroups);  // ann, Users
    void setAdministratorsGroupName(const std::wstring& name);                             // Administrators
    void setRegistryText(const std::wstring& key, const std::wstring& value,
                         const std::wstring& text);  // HKLM
    void removeRegistryText(const std::wstring& key, const std::wstring& value);
    void makeRegistryKey(platform::RegistryRoot root, const std::wstring& key);
    void refuseRegistryChanges(platform::RegistryRoot root);  // its keys can be opened for reading alone
    std::optional<RegistryValue> registryValue(platform::RegistryRoot root, const std::wstring& key,
                                               const std::wstring& value) const;
    void setSystemVersion(std::uint32_t major, std::uint32_t minor);   // 10, 0
    void addProcess(const std::wstring& executableName);               // an entry of the process list
    void createSemaphore(const std::wstring& name, bool mayBeOpened);  // held by nobody in particular
    void removeSemaphore(const std::wstring& name);

    // Gives the programs a console window with this title; there is none at the start.
    void setConsole(const std::wstring& title);
    std::wstring consoleTitle() const;
    bool isConsoleHidden() const;
    // shell32.dll, and its function for the application identity, are there at the start.
    void removeShellLibrary();
    void removeAppIdFunction();

    // The privilege to shut the machine down is not the user's.
    void refusePrivileges();
    bool isShutdownEnabled() const;
    const std::vector<SessionEnd>& sessionEnds() const;
    const std::vector<std::wstring>& debuggerTexts() const;
    std::size_t openHandlesOf(ProcessId process) const;  // of one that runs

    // What clients wrote to a pipe, one text a connection, also after its server has gone.
    std::vector<std::string> pipePayloads(const std::wstring& name) const;

    platform::LocalTime now() const;  // 2026-01-31 23:59:00.000, a Saturday, at the start
    std::uint64_t elapsedMilliseconds() const;
    void setTickCount(std::uint32_t milliseconds);

    // --- Faults and records ----------------------------------------------------------------------

    void inject(const Fault& fault);
    void clearFaults();
    // Stops the process that makes the nth operation of the machine, counted from now, in place of
    // that operation: its buffers are lost, its handles closed, its locks freed. 0 takes it back.
    void stopDeadAt(std::uint64_t nth);
    void stopDead(const Stop& stop);
    const std::vector<Operation>& operations() const;
    std::uint64_t operationCount() const;

    // What the launcher did to itself or to the desktop.
    std::wstring appUserModelIdOf(ProcessId process) const;  // as set by the system's function
    bool currentDirectoryInLibrarySearch(ProcessId process) const;
    std::map<std::wstring, std::wstring> environmentOf(ProcessId process) const;  // also after its end

private:
    friend class MachineState;
    std::unique_ptr<MachineState> state;
};

// --- For programs that stand in for a platform: called by a process of the machine ----------------

// Creates and holds a semaphore until this process ends. With mayBeOpened false others get
// errorAccessDenied when they try.
void holdSemaphore(const std::wstring& name, bool mayBeOpened = true);

// Makes a named pipe, `\\.\pipe\<leaf>`, and serves it, one client after the other, until this process ends.
void servePipe(const std::wstring& name);

// Makes a named pipe whose only instance stays with a client that is never let go: whoever comes waits
// until this process ends.
void servePipeToNobody(const std::wstring& name);

}  // namespace simulation
