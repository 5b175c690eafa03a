#pragma once

#include <array>
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

// A simulated Windows machine: the second implementation of the system interface in src/platform.
//
// A machine has drives with files, processes, a clock, an environment, users and a registry. A program
// is a function. Each process runs its program on its own thread, but only one thread runs at a time.
// At every operation of the system interface the machine may switch to another process, drawn by a
// generator with the machine's seed, so the same seed gives the same run. The clock only moves when all
// processes sleep; it then jumps to the next moment at which one of them wakes.
//
// The launcher's process-wide variables are thread_local in this build (PROCESS_WIDE), so each process
// starts with fresh ones.
namespace simulation {

using Program = std::function<int()>;

enum class EndKind {
    exited,           // exitProcess, or the program returned
    accessViolation,  // endWithAccessViolation; the status is 0xC0000005
    stoppedDead,      // killed by the test at an operation
    ranAway,          // ended by the machine after more operations than limitOperations allows
};

struct ProcessEnd {
    EndKind kind = EndKind::exited;
    std::uint32_t status = 0;
};

// Names a process of the machine. It is also the process id that programs see, unless that has come again
// (Machine::reuseProcessIds).
using ProcessId = std::uint32_t;

// Whether other processes may open a semaphore; denied gives them errorAccessDenied.
enum class SemaphoreAccess { granted, denied };

// One call of createProcess, whether it succeeded or not.
struct StartedProcess {
    std::wstring commandLine;
    platform::StartInformation start;
    std::map<std::wstring, std::wstring> environment;  // names as set
    ProcessId id = 0;                                  // 0 when the start failed
    ProcessId parent = 0;
    bool started = false;
};

using Numbers = std::array<std::uint32_t, 4>;

// One call of the system interface, for assertions about access patterns.
struct Operation {
    std::string name;       // of the function, e.g. "createDirectory"
    std::wstring argument;  // its first text argument, or empty
    ProcessId process = 0;
    std::uint64_t index = 0;  // 1 for the first operation of the machine
    bool writes = false;      // it needs disk space: creates a file, writes or flushes
    platform::ErrorCode fault = platform::errorSuccess;  // the error of an injected fault
    platform::ErrorCode error = platform::errorSuccess;  // why it failed, for whatever reason
    // The second path of copyFile and moveFile; of a stream, the path that it was opened with.
    std::wstring target;
    std::uint64_t time = 0;  // in elapsed milliseconds
    Numbers numbers{};       // access rights, flags, lengths and milliseconds, in the order of the arguments
};

// A registry value: a text or a 32-bit number.
struct RegistryValue {
    std::wstring text;
    std::optional<std::uint32_t> number;
};

// A request to end the user's session. On this machine the session continues.
struct SessionEnd {
    std::uint32_t how = 0;
    std::uint32_t reason = 0;
    bool wasPrivileged = false;  // the shutdown privilege was enabled at that moment
};

// The errors that Windows can give for this operation at any moment, because of a virus scanner, another
// program, a full or failing disk, or a network share. Empty if the operation cannot fail or its failure
// is invisible to the caller.
std::vector<platform::ErrorCode> errorsOf(const Operation& operation);

// An injected failure. Operations are counted from 1 over the whole machine, or only those with this name,
// this end of the argument (ignoring case) and this process.
struct Fault {
    std::string operation;          // empty: any operation that can fail
    std::wstring argumentEndsWith;  // empty: any argument
    std::uint64_t nth = 1;          // which one fails, counted from the call of inject
    bool fromThenOn = false;        // all later ones fail too
    platform::ErrorCode error = platform::errorAccessDenied;
    ProcessId process = 0;           // 0: of any process
    bool onlyWherePossible = false;  // only operations whose errorsOf contains the error
};

// What happens to the unflushed data of a process that is stopped dead: the buffers of its streams, and a
// copy in progress.
enum class UnflushedData { lost, kept, partlyWritten };

struct Stop {
    std::uint64_t nth =
        1;  // the operation that is not carried out any more, counted from the call of stopDead
    ProcessId process = 0;  // 0: any process; the one that calls the operation is stopped
    // partlyWritten: half of each buffer, and half of the file if the operation is copyFile.
    UnflushedData data = UnflushedData::lost;
};

// A snapshot of all drives.
class DiskImage {
private:
    friend class Machine;
    struct Content;
    std::shared_ptr<const Content> content;
};

// An entry of a directory outside of the machine.
struct HostEntry {
    std::wstring name;
    std::uint32_t attributes = 0;
};

// A directory outside of the machine, for Machine::mount. It is only read, and each name, content and
// subdirectory only when a process looks at it. What it answers once, the machine does not ask again.
class HostDirectory {
public:
    virtual ~HostDirectory() = default;
    // Without `.` and `..`; nothing if the directory cannot be read.
    virtual std::optional<std::vector<HostEntry>> entries() const = 0;
    // The first bytes of a file among the entries; nothing if it cannot be read.
    virtual std::optional<std::string> read(const std::wstring& name, std::size_t mostBytes) const = 0;
    // A directory among the entries.
    virtual std::shared_ptr<const HostDirectory> directory(const std::wstring& name) const = 0;
};

// A difference between the drives at the call of watchDisks and later.
struct DiskChange {
    enum class Kind { made, changed, moved, removed };

    Kind kind = Kind::made;
    std::wstring path;  // full, with backslashes, as spelled now; of a removed one, as it was
    std::wstring from;  // of a moved one
    bool isDirectory = false;
    std::string content;        // of a file that was made, changed or moved
    std::string formerContent;  // of a changed file, and of a removed one that was ever read
};

// How often the generator interferes. Rare switches let one process get far ahead of another, which
// frequent ones hardly ever do. Stalls let time pass in the middle of a process's work.
struct Switching {
    std::uint32_t oneIn = 1;       // a switch before every nth operation on average
    std::uint32_t stallOneIn = 0;  // a stall before every nth operation on average; 0 for none
    std::uint32_t longestStallMilliseconds = 1;
};

// A stall at a chosen place: before the next operation with this name and this end of the argument.
struct Stall {
    std::string operation;
    std::wstring argumentEndsWith;
    std::uint32_t milliseconds = 0;
};

// A point of a followChoices run at which more than one process could continue.
struct SwitchingPoint {
    std::size_t candidates = 0;
    std::size_t habit = 0;        // the candidate that continues without a choice
    std::size_t chosen = 0;       // the candidate that did
    bool canContinue = false;     // the running process is a candidate, so another one pre-empts it
    std::uint64_t operation = 0;  // number of the last operation before this point
};

// Which candidate continues at which switching point; both are counted from 0, candidates in the order of
// their process ids.
struct Choice {
    std::uint64_t point = 0;
    std::size_t candidate = 0;
};

// What a process of a machine finds besides files, for a program that compares machines.
struct Surroundings {
    std::map<std::wstring, std::wstring> environment;  // names as set
    std::wstring currentDirectory;
    std::wstring user;
    bool isAdministrator = false;
    std::vector<std::wstring> processes;       // that addProcess added
    std::map<std::wstring, Program> programs;  // of installProgram, by upper-case path
    // A fault, a stop, a refusal, a held file or a full disk is waiting.
    bool hasFailures = false;
};

// What a power loss leaves of what is not on the device.
struct PowerLoss {
    // With `old`, directories have the entries that they had, so that new files are missing, moved ones are
    // back, and so are removed ones. With `kept`, the names are as by a journal.
    enum class Names { kept, old };
    // With `old`, files have the content that they had, and new ones are empty. With `zeroFilled`, they have
    // their present size, and zeros instead of what was written.
    enum class Contents { old, zeroFilled };

    Names names = Names::kept;
    Contents contents = Contents::old;
};

// What another program shares that holds a file open.
enum class HeldSharing { nothing, everything };

class MachineState;

class Machine {
public:
    explicit Machine(std::uint64_t seed = 1);
    ~Machine();  // stops processes that are still running
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // --- Running programs -----------------------------------------------------------------------

    // Starts a program as a user would. It gets these arguments, a copy of the machine's environment, and
    // the full path of argument 0 as its module file. It begins to run when the machine does.
    ProcessId start(const std::vector<std::wstring>& arguments, Program program);

    // The number after which process ids continue, a multiple of four.
    void setLastProcessId(ProcessId id);

    // Runs the machine until this process has ended; other processes get their turns.
    ProcessEnd waitFor(ProcessId process);

    // The module file of a process that was not started by its full path.
    void setModule(ProcessId process, const std::wstring& path);

    // start, then waitFor.
    ProcessEnd run(const std::vector<std::wstring>& arguments, Program program);

    // waitFor for at most this much simulated time; nothing if the process is still running then.
    std::optional<ProcessEnd> waitFor(ProcessId process, std::uint64_t limitMilliseconds);

    // Runs the machine until no process is left or this much simulated time has passed.
    void runUntilIdle(std::uint64_t limitMilliseconds);

    // Ends a process that makes more operations than this (ranAway). Without a limit, only a bound that a
    // program must be endless to reach aborts the test program.
    void limitOperations(std::uint64_t ofEachProcess);

    // Kills a process. What it has written but not flushed is lost.
    void stop(ProcessId process);

    // From now on a new process gets the process id of the one that ended last, as soon as no process has a
    // handle of that any more. Otherwise every process has a new one.
    void reuseProcessIds();
    // The process id that programs see.
    std::uint32_t systemIdOf(ProcessId process) const;

    bool isRunning(ProcessId process) const;
    ProcessEnd endOf(ProcessId process) const;  // of one that has ended

    // --- Scheduling -----------------------------------------------------------------------------

    void setSwitching(const Switching& switching);

    // Requests one stall, replacing an earlier request.
    void stallOnce(const Stall& stall);

    // Restricts switching points to the operations (name, first text argument) that the function accepts.
    void switchOnlyAt(std::function<bool(const char*, const std::wstring&)> isSwitchingOperation);

    // From now on nothing is drawn: a process runs until it sleeps or ends, then the first one that can,
    // unless a choice names another. Choices must be sorted by point. The switching points of a run without
    // choices show which choices exist, so that a test can go through all schedules.
    void followChoices(const std::vector<Choice>& choices);
    const std::vector<SwitchingPoint>& switchingPoints() const;

    // The observer is called with the name and the first text argument before each operation. It may change
    // the machine as a test may.
    void beforeOperation(std::function<void(const std::string&, const std::wstring&)> observer);

    // The observer is called after each process has ended and released what it held.
    void whenEnded(std::function<void(ProcessId)> observer);

    // Creates an empty file at this path if it is missing; createProcess runs the program for it. A file
    // without a program cannot be started (error 193).
    void installProgram(const std::wstring& path, Program program);

    // createProcess runs this program for every file without a program of its own that begins with the
    // header of a program for x64 (program_files.h). Without a call, such files cannot be started either.
    void playPrograms(Program program);

    const std::vector<StartedProcess>& startedProcesses() const;

    // --- Files, for the test; none of these are recorded as operations ---------------------------

    // Both throw std::invalid_argument if the path cannot exist: an invalid name, a missing drive, or a file
    // where a directory is needed. writeFile also throws if the path is a directory.
    void makeDirectory(const std::wstring& path);                          // all levels
    void writeFile(const std::wstring& path, const std::string& content);  // and its directories
    std::optional<std::string> readFile(const std::wstring& path) const;   // what is on the disk
    // The full path on its drive, as a process in the machine's current directory means it.
    std::wstring fullPath(const std::wstring& path) const;
    bool exists(const std::wstring& path) const;
    bool isDirectory(const std::wstring& path) const;
    std::uint32_t attributes(const std::wstring& path) const;  // 0 if it does not exist
    void setAttributes(const std::wstring& path, std::uint32_t attributes);
    void remove(const std::wstring& path);  // with everything in it
    // Every path below the root, full, with backslashes, sorted; directories end in `\`.
    std::vector<std::wstring> tree(const std::wstring& root) const;
    // Saves and restores all drives, for many runs from one state. Nothing may be open when they are
    // restored; refusals are gone then, and programs stay installed.
    DiskImage saveDisks() const;
    void loadDisks(const DiskImage& image);
    // A power loss: every process is stopped dead, and what is not on the device is lost. Tests write to the
    // device; so do flushFile, and moveFile with moveWriteThrough.
    void losePower(const PowerLoss& loss = {});
    // Brings everything to the device, as the system does after a while.
    void flushDisks();
    // From now on moveWriteThrough has no effect, as on a device that reports success too early.
    void ignoreWriteThrough();
    // Every attempt to open, change or remove this file or directory, but not its content, fails with this
    // error from now on; errorSuccess ends that. Reading its attributes still works.
    void refuse(const std::wstring& path, platform::ErrorCode error);
    // Bytes that can still be written before errorDiskFull; no value: no limit.
    void setFreeSpace(std::optional<std::uint64_t> bytes);
    // Holds a file open as another program would: one that shares nothing, or one that shares everything,
    // as a virus scanner does.
    void holdOpen(const std::wstring& path, HeldSharing sharing = HeldSharing::nothing);
    void releaseOpen(const std::wstring& path);

    // A new machine has C: and D:.
    void makeDrive(wchar_t letter);
    void removeDrive(wchar_t letter);
    // The path becomes a directory that shows the other one. What processes change stays on the machine.
    void mount(const std::wstring& path, std::shared_ptr<const HostDirectory> directory);
    // What has changed since the last call of watchDisks. A directory that was moved is one change, and
    // below it only what differs from before; a file at a path where another one was is `changed`, or
    // nothing if the content is the same. Sorted by path.
    void watchDisks();
    std::vector<DiskChange> diskChanges() const;

    // --- Environment, user, system ---------------------------------------------------------------

    // For programs that are started from now on. A new machine has TEMP, HOMEDRIVE, HOMEPATH, USERNAME,
    // USERPROFILE and PATH: C:\Temp, C:, \Users\ann, ann, C:\Users\ann, C:\Windows\System32.
    void setEnvironment(const std::wstring& name, const std::wstring& value);
    void unsetEnvironment(const std::wstring& name);
    void setCurrentDirectory(const std::wstring& path);  // C:\ at first

    void setUser(const std::wstring& name, const std::vector<std::wstring>& localGroups);  // ann, Users
    void setAdministratorsGroupName(const std::wstring& name);                             // Administrators
    void setRegistryText(const std::wstring& key, const std::wstring& value,
                         const std::wstring& text);  // HKLM
    // The raw data of a text (REG_SZ), of any size and with or without a NUL at its end.
    void setRegistryBytes(platform::RegistryRoot root, const std::wstring& key, const std::wstring& value,
                          const std::string& bytes);
    void removeRegistryText(const std::wstring& key, const std::wstring& value);
    void makeRegistryKey(platform::RegistryRoot root, const std::wstring& key);
    void refuseRegistryChanges(platform::RegistryRoot root);  // its keys can only be opened for reading
    std::optional<RegistryValue> registryValue(platform::RegistryRoot root, const std::wstring& key,
                                               const std::wstring& value) const;
    void setSystemVersion(std::uint32_t major, std::uint32_t minor);         // 10, 0
    void addProcess(const std::wstring& executableName);                     // adds to the process list
    void createSemaphore(const std::wstring& name, SemaphoreAccess access);  // held by no process
    void removeSemaphore(const std::wstring& name);

    // Gives the processes a console window with this title; a new machine has none.
    void setConsole(const std::wstring& title);
    std::wstring consoleTitle() const;
    bool isConsoleHidden() const;
    // A new machine has shell32.dll and its function for the application identity.
    void removeShellLibrary();
    void removeAppIdFunction();

    // The user does not have the shutdown privilege.
    void refusePrivileges();
    bool isShutdownEnabled() const;
    const std::vector<SessionEnd>& sessionEnds() const;
    const std::vector<std::wstring>& debuggerTexts() const;
    std::size_t openHandlesOf(ProcessId process) const;  // of a running one

    // A pipe that is served by no process; a busy one lets its clients wait for ever.
    enum class PipeState { free, busy };
    void createPipe(const std::wstring& name, PipeState pipeState);
    // What clients wrote to a pipe, one text per connection, also after its server has ended.
    std::vector<std::string> pipePayloads(const std::wstring& name) const;
    bool hasPipeClient(const std::wstring& name) const;  // one is connected now

    Surroundings surroundings() const;

    platform::LocalTime now() const;    // 2026-01-31 23:59:00.000, a Saturday, at first
    void passDays(std::uint32_t days);  // changes the date only
    std::uint64_t elapsedMilliseconds() const;
    void setTickCount(std::uint32_t milliseconds);

    // --- Faults and records ----------------------------------------------------------------------

    void inject(const Fault& fault);
    void clearFaults();
    // Kills the process that calls the nth operation of the machine, counted from now, instead of carrying
    // out that operation: its buffers are lost, its handles closed, its locks released. 0 cancels it.
    void stopDeadAt(std::uint64_t nth);
    void stopDead(const Stop& stop);
    const std::vector<Operation>& operations() const;
    std::uint64_t operationCount() const;

    // What a process did to itself.
    std::wstring appUserModelIdOf(ProcessId process) const;  // as it set it
    bool currentDirectoryInLibrarySearch(ProcessId process) const;
    std::map<std::wstring, std::wstring> environmentOf(ProcessId process) const;  // also after its end

private:
    friend class MachineState;
    std::unique_ptr<MachineState> state;
};

// --- For programs that play a platform; called by a process of the machine -----------------------

// Creates a semaphore and holds it until this process ends.
void holdSemaphore(const std::wstring& name, SemaphoreAccess access = SemaphoreAccess::granted);

// Creates a named pipe, `\\.\pipe\<leaf>`, and serves one client after the other until this process ends.
void servePipe(const std::wstring& name);

// Creates a named pipe whose only instance stays busy, so that clients wait until this process ends.
void servePipeToNobody(const std::wstring& name);

// Creates a named pipe as a process that does not read it. One client can connect and write what fits into
// the buffer. A write of more, and the next client, wait until this process ends or calls readPipe.
void servePipeWithoutReading(const std::wstring& name, std::size_t bufferSize);
void readPipe(const std::wstring& name);

}  // namespace simulation
