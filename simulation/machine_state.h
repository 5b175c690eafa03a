#pragma once

#include <semaphore.h>

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/handles.h"
#include "platform/streams.h"
#include "platform/system_version.h"
#include "simulation/command_line.h"
#include "simulation/machine.h"
#include "simulation/paths.h"

// Inside the machine: its records, shared by the files that implement the system interface.
namespace simulation {

inline constexpr std::uint64_t never = UINT64_MAX;

struct OpenFile;
struct Node;

using NodePointer = std::shared_ptr<Node>;

struct DirectoryEntry {
    NodePointer node;
    std::wstring name;
};

// A file or a directory.
struct Node {
    std::wstring name;
    std::uint32_t attributes = 0;
    std::string content;                          // of a file
    std::map<std::wstring, NodePointer> entries;  // of a directory, by upper-case name
    std::vector<OpenFile*> opens;
    platform::ErrorCode refusal = platform::errorSuccess;
    std::optional<std::string> onDevice;  // content on the device, if `content` is not flushed
    // A directory that is not listed yet; of a file that is not read yet, the directory that holds it.
    std::shared_ptr<const HostDirectory> host;
    bool isOriginal = false;         // it was there at the last watchDisks
    std::size_t intactOnDevice = 0;  // bytes of it that the file has not given up since
    std::optional<std::map<std::wstring, DirectoryEntry>> entriesOnDevice;  // if `entries` are not flushed
    std::weak_ptr<Node> deletedFrom;  // of a deleted file that is still open: its directory

    bool isBeingDeleted() const { return !deletedFrom.expired(); }
    bool isDirectory() const { return (attributes & platform::attributeDirectory) != 0; }
};

struct OpenFile {
    NodePointer node;
    bool canRead = false;
    bool canWrite = false;
    bool sharesRead = true;
    bool sharesWrite = true;
    bool sharesDelete = false;
    std::uint64_t lockLength = 0;  // 0: no lock
};

struct Semaphore {
    SemaphoreAccess access = SemaphoreAccess::granted;
    int holders = 0;
};

enum class ObjectKind { file, process, thread, semaphore, snapshot, pipe, registryKey, token };

// A named pipe with one instance: a client waits while another is connected, or until the server has read
// what the last one wrote.
struct Pipe {
    std::uint64_t server = 0;  // counts the processes that have served it
    bool isBusy = false;
    bool isConnected = false;
    bool isServed = true;
    bool isRead = true;
    std::size_t bufferSize = 0;         // of a pipe that is not read
    std::size_t unread = 0;             // bytes in its buffer
    std::vector<std::string> payloads;  // one per connection
};

struct Process;

struct Object {
    ObjectKind kind = ObjectKind::file;
    std::unique_ptr<OpenFile> file;
    ProcessId processId = 0;
    std::wstring semaphore;
    std::wstring pipe;  // at the client's end
    std::uint64_t pipeServer = 0;
    std::wstring servedPipe;
    std::vector<platform::ProcessEntry> snapshotEntries;
    std::size_t snapshotPosition = 0;
    std::wstring registryKey;
    std::uint32_t registryAccess = 0;
};

// A registry value as its raw data.
struct StoredValue {
    std::string bytes;
    bool isNumber = false;
};

using RegistryValues = std::map<std::wstring, StoredValue>;  // by upper-case name

struct FindState {
    std::vector<platform::FindEntry> entries;
    std::size_t position = 0;
};

}  // namespace simulation

// A buffered stream of the runtime library.
struct platform::Stream {
    std::unique_ptr<simulation::OpenFile> file;
    std::wstring path;           // as it was opened
    std::uint64_t position = 0;  // of the next byte to read, or of the first byte in the buffer
    std::string buffer;          // written but not flushed
    bool appends = false;
};

namespace simulation {

enum class ProcessState { ready, sleeping, ended };

// What a thread waits for. A system semaphore, because the standard library's spins before it sleeps,
// which costs more than the switch itself.
class Turn {
public:
    Turn() { sem_init(&semaphore, 0, 0); }
    ~Turn() { sem_destroy(&semaphore); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    void give() { sem_post(&semaphore); }
    void await() {
        while (sem_wait(&semaphore) != 0) {
        }
    }

private:
    sem_t semaphore;
};

struct Process {
    ProcessId id = 0;
    std::uint32_t systemId = 0;  // that programs see
    ProcessId parent = 0;
    std::vector<std::wstring> arguments;
    std::wstring module;
    std::wstring currentDirectory;
    std::map<std::wstring, std::pair<std::wstring, std::wstring>> environment;  // upper name -> name, value
    Program program;
    ProcessState state = ProcessState::ready;
    std::uint64_t wakeTime = 0;
    bool isStopped = false;  // must unwind at its next operation
    ProcessEnd end;
    std::uint64_t operationCount = 0;
    bool isCutShort = false;  // its current operation is the last one and only partly done
    platform::ErrorCode lastError = 0;
    std::map<std::uintptr_t, std::unique_ptr<Object>> objects;
    std::map<std::uintptr_t, FindState> finds;
    std::set<std::unique_ptr<platform::Stream>> streams;
    std::wstring appUserModelId;
    bool searchesCurrentDirectory = true;
    std::wstring awaitedPipe;  // sleeps until this pipe changes
    std::thread thread;
    Turn turn;
};

// What happened to the original files and directories since the last watchDisks.
struct DiskWatch {
    struct Removed {
        std::wstring path;
        NodePointer node;
    };

    std::map<const Node*, std::wstring> movedFrom;  // where they were before their first move
    std::vector<Removed> removed;
    std::map<const Node*, std::string> formerContents;
};

struct ActiveFault {
    Fault fault;
    std::uint64_t seen = 0;
};

class MachineState {
public:
    explicit MachineState(std::uint64_t seed) : generator(seed) {}

    // Scheduling (scheduler.cpp). Either one process has the turn, or the test.
    Turn controllerTurn;
    std::map<ProcessId, std::unique_ptr<Process>> processes;
    std::mt19937_64 generator;
    std::uint64_t elapsed = 0;
    ProcessId lastProcessId = 1000;
    bool reusesProcessIds = false;
    std::vector<ProcessId> ended;  // whose process ids have not come again
    std::uint32_t switchOdds = 1;
    std::uint32_t stallOdds = 0;
    std::uint32_t longestStall = 1;
    std::optional<Stall> stall;
    std::function<bool(const char*, const std::wstring&)> isSwitchingOperation;
    bool followsChoices = false;
    std::vector<Choice> choices;
    std::size_t nextChoice = 0;
    std::vector<SwitchingPoint> switchingPoints;
    std::function<void(ProcessId)> whenEnded;
    std::function<void(const std::string&, const std::wstring&)> beforeOperation;

    Process& addProcess(const std::vector<std::wstring>& arguments, Program program);
    std::uint32_t nextSystemId(ProcessId process);
    bool hasHandleOf(ProcessId process) const;
    // A process that runs or of which a process has a handle; null if there is none with this process id.
    const Process* findBySystemId(std::uint32_t systemId) const;
    void runWhile(const std::function<bool()>& isWanted, std::uint64_t limit);
    void stopProcess(Process& process);
    void giveTurn(Process& next);
    void giveTurnAndWait(Process& next);
    void passTurn(Process& from, Process* next);
    Process* chooseNext(Process* current);
    Process* chooseByPlan(Process* current, const std::vector<Process*>& ready);
    void yield(Process& self, const char* name, const std::wstring& argument);
    void sleep(Process& self, std::uint32_t milliseconds);
    bool waitForPipe(Process& self, const std::wstring& pipe, std::uint64_t wakeTime);
    void wakePipeWaiters(const std::wstring& pipe);
    std::vector<Process*> readyProcesses();
    static void finish(MachineState& machine, Process& process, const ProcessEnd& end, UnflushedData data);
    bool isStopDue(const Operation& operation);

    // Files (files.cpp, paths.cpp).
    std::map<std::wstring, NodePointer> drives;
    std::optional<std::uint64_t> freeSpace;
    bool hasRefusals = false;
    bool ignoresWriteThrough = false;
    std::map<std::wstring, Program> programs;  // by upper-case full path
    Program anyProgram;
    DiskWatch watch;
    std::map<std::wstring, std::unique_ptr<OpenFile>> heldOpen;

    // The system.
    std::map<std::wstring, std::pair<std::wstring, std::wstring>> environment;
    std::wstring currentDirectory = L"C:\\";
    std::wstring userName = L"ann";
    std::vector<std::wstring> userGroups = {L"Users"};
    std::wstring administratorsName = L"Administrators";
    std::map<std::wstring, RegistryValues> registry;  // by root and upper-case path
    std::set<platform::RegistryRoot> readOnlyRoots;
    bool hasShutdownPrivilege = true;
    bool isShutdownEnabled = false;
    std::vector<SessionEnd> sessionEnds;
    std::vector<std::wstring> debuggerTexts;
    platform::SystemVersion systemVersion{10, 0};
    std::vector<std::wstring> otherProcesses;
    std::map<std::wstring, Semaphore> semaphores;
    std::map<std::wstring, Pipe> pipes;  // by upper-case name
    std::uint32_t tickStart = 0;
    std::uint64_t daysPassed = 0;  // besides the elapsed time
    bool hasConsole = false;
    std::wstring consoleTitle;
    bool isConsoleHidden = false;
    bool hasShellLibrary = true;
    bool hasAppIdFunction = true;
    std::uintptr_t lastHandle = 0x100;

    // Records and faults.
    std::vector<StartedProcess> started;
    std::vector<Operation> operations;
    std::deque<ActiveFault> faults;
    std::optional<Stop> stop;
    std::uint64_t seenOfStop = 0;
    std::uint64_t operationLimit = 0;  // of each process; 0: none
};

// Unwinds the thread of a process that has ended.
struct ProcessEnded {
    ProcessEnd end;
    UnflushedData data = UnflushedData::lost;
};

platform::LocalTime timeOf(const MachineState& machine);

// Ends the whole test program with this reason.
[[noreturn]] void giveUp(const char* reason);

// The process that runs on this thread, and its machine. Calling the system interface outside a process
// aborts.
Process& self();
MachineState& machineOfSelf();

// Begins an operation of the system interface: lets other processes run, records the operation, stops the
// process if that is due. Returns the error of an injected fault, which the caller reports as its own.
platform::ErrorCode beginOperation(const char* name, const std::wstring& argument = {}, bool writes = false,
                                   const Numbers& numbers = {});
platform::ErrorCode beginOperation(const char* name, const std::wstring& argument, const std::wstring& target,
                                   bool writes, const Numbers& numbers = {});
platform::ErrorCode beginOperation(const char* name, const platform::Stream& stream, bool writes = false,
                                   const Numbers& numbers = {});

// Sets the last error of the process and returns false.
bool failWith(platform::ErrorCode error);

std::wstring upperCase(const std::wstring& text);

// A path as its components, the drive first.
struct ParsedPath {
    platform::ErrorCode error = platform::errorSuccess;
    std::vector<std::wstring> components;
    bool endsInSeparator = false;
};
ParsedPath parsePath(const std::wstring& path, const std::wstring& currentDirectory, std::size_t limit);
// For full paths of a test, which have no limit of length.
ParsedPath parseWithoutLimit(const std::wstring& path);
std::optional<std::wstring> makeFullPath(const std::wstring& path, const std::wstring& currentDirectory);

struct Lookup {
    NodePointer node;    // null if it does not exist
    NodePointer parent;  // null if a directory of the path is missing
    std::wstring leaf;
    platform::ErrorCode error = platform::errorSuccess;  // why node is null
    bool isDirectoryName = false;                        // the path ends in a separator
};
Lookup lookUp(MachineState& machine, const ParsedPath& path);
// The same for the running process, which cannot use a file that is being deleted (errorAccessDenied).
// Paths may have fewer characters than the limit.
inline constexpr std::size_t plainPathLimit = 260;
Lookup lookUpForSelf(const std::wstring& path, std::size_t limit = plainPathLimit);
// Makes the directories of a full path, and the last node with these attributes. Throws std::invalid_argument
// if the path cannot exist: an invalid name, a missing drive, or a file where a directory is needed.
NodePointer makeNode(MachineState& machine, const std::wstring& path, std::uint32_t attributes);

// Opens a node. Null with `error` on a refusal or a sharing violation.
std::unique_ptr<OpenFile> openNode(const NodePointer& node, bool reads, bool writes, bool sharesRead,
                                   bool sharesWrite, bool sharesDelete, platform::ErrorCode& error);
// Read from the host what has not been read yet. A directory or file that cannot be read refuses access.
void loadEntries(Node& directory);
void loadContent(Node& file);
// The first bytes, without reading the rest.
std::string beginningOf(const Node& file, std::size_t bytes);
// For diskChanges: call them before an original node is moved or removed.
void noteMove(MachineState& machine, const std::wstring& path, const NodePointer& node);
void noteRemoval(MachineState& machine, const std::wstring& path, const NodePointer& node);
void closeOpenFile(MachineState& machine, OpenFile& file);  // removes a deleted file after its last handle
void removeFile(MachineState& machine, Node& directory, const std::wstring& upperCaseName);

// Changes of names and contents. What the device has stays there until it is forced (device.cpp).
void setEntry(Node& directory, const std::wstring& name, const NodePointer& node);
void eraseEntry(Node& directory, const std::wstring& upperCaseName);
void keepOnDevice(Node& file);  // call it before the content changes
void emptyFile(Node& file);
// Brings to the device what has the last name of this path, or that nothing has it, and the names of its
// directories. The directories must exist.
void forceNames(MachineState& machine, const std::wstring& path);

bool writeOut(MachineState& machine, platform::Stream& stream);  // sets the last error
void releaseSemaphore(MachineState& machine, const std::wstring& name);
// Gives the object a handle of the running process, and finds it again (null for another kind).
std::uintptr_t addObject(std::unique_ptr<Object> object);
Object* objectOf(std::uintptr_t handle, ObjectKind kind);

// Releases what an object holds, when its handle is closed or its process ends.
void releaseObject(MachineState& machine, Object& object);
void releasePipeEnd(MachineState& machine, const Object& object);

// Opens the client's end of a pipe. Null with the last error set.
std::unique_ptr<Object> openPipe(MachineState& machine, const std::wstring& name);

}  // namespace simulation
