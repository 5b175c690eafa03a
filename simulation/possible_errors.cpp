#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "simulation/machine_state.h"

// The errors that Windows can give for each operation, whatever is on the machine.
namespace simulation {

namespace {

using platform::ErrorCode;

constexpr ErrorCode errorNotEnoughMemory = 8;
constexpr ErrorCode errorInvalidFunction = 1;
constexpr ErrorCode errorCrc = 23;
constexpr ErrorCode errorBrokenPipe = 109;
constexpr ErrorCode errorSemaphoreTimeout = 121;
constexpr ErrorCode errorInsufficientBuffer = 122;
constexpr ErrorCode errorModuleNotFound = 126;
constexpr ErrorCode errorProcedureNotFound = 127;
constexpr ErrorCode errorVariableNotFound = 203;
constexpr ErrorCode errorPipeBusy = 231;
constexpr ErrorCode errorNoData = 232;
constexpr ErrorCode errorIoDevice = 1117;
constexpr ErrorCode errorKeyDeleted = 1018;
constexpr ErrorCode errorNotAllAssigned = 1300;
constexpr ErrorCode errorNoSuchPrivilege = 1313;
constexpr ErrorCode errorNoneMapped = 1332;
constexpr ErrorCode errorCommitmentLimit = 1455;
constexpr ErrorCode statusUserNotFound = 2221;

struct OperationErrors {
    std::string_view operation;
    std::initializer_list<ErrorCode> errors;
};

// "Not found" is listed where another program may remove a file at any moment. "Disk full" is added below
// for operations that need space.
const OperationErrors table[] = {
    {"fileAttributes",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation}},
    {"setFileAttributes",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation}},
    {"createDirectory",
     {platform::errorPathNotFound, platform::errorAccessDenied, platform::errorAlreadyExists}},
    {"copyFile",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation,
      platform::errorFileExists, errorIoDevice}},
    {"flushFile",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation,
      errorIoDevice}},
    {"moveFile",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation,
      platform::errorAlreadyExists}},
    {"deleteFile",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation}},
    {"removeDirectory",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation,
      platform::errorDirectoryNotEmpty}},
    {"findFirst", {platform::errorFileNotFound, platform::errorPathNotFound, platform::errorAccessDenied}},
    {"findNext", {platform::errorAccessDenied, errorIoDevice}},
    {"fullPathName", {errorNotEnoughMemory, platform::errorInvalidName}},
    {"moduleFileName", {errorInsufficientBuffer}},
    {"openStream",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation}},
    {"readStream", {platform::errorLockViolation, errorCrc, errorIoDevice}},
    {"writeStream", {platform::errorAccessDenied, platform::errorLockViolation, errorIoDevice}},
    {"flushStream", {platform::errorAccessDenied, platform::errorLockViolation, errorIoDevice}},
    {"rewindStream", {platform::errorInvalidHandle, errorIoDevice}},
    {"seekToLastByte", {platform::errorInvalidHandle, errorIoDevice}},
    {"truncateStream", {platform::errorAccessDenied, errorIoDevice}},
    {"closeStream", {platform::errorInvalidHandle, errorIoDevice}},
    {"lockStream", {errorInvalidFunction, platform::errorAccessDenied, platform::errorLockViolation}},
    {"unlockStream", {platform::errorAccessDenied, platform::errorLockViolation, platform::errorNotLocked}},
    {"createProcess",
     {platform::errorFileNotFound, platform::errorAccessDenied, errorNotEnoughMemory,
      platform::errorBadProgram, errorCommitmentLimit}},
    {"hasProcessEnded", {platform::errorInvalidHandle}},
    {"processExitCode", {platform::errorInvalidHandle, platform::errorAccessDenied}},
    {"openProcess", {platform::errorInvalidParameter, platform::errorAccessDenied}},
    {"processSnapshot", {platform::errorAccessDenied, errorNotEnoughMemory}},
    {"firstProcess", {platform::errorNoMoreFiles}},
    {"nextProcess", {platform::errorNoMoreFiles}},
    {"openSemaphore",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorInvalidHandle}},
    {"waitNamedPipe", {platform::errorFileNotFound, errorSemaphoreTimeout}},
    {"writePipe", {errorBrokenPipe, errorNoData}},
    {"environmentValue", {errorVariableNotFound}},
    {"putEnvironmentText", {errorNotEnoughMemory}},
    {"currentUserName", {platform::errorAccessDenied, errorInsufficientBuffer}},
    {"administratorsGroupId", {errorNotEnoughMemory}},
    {"accountName", {errorInsufficientBuffer, errorNoneMapped}},
    {"localGroupsOfUser", {platform::errorAccessDenied, platform::errorMoreData, statusUserNotFound}},
    {"openRegistryKey", {platform::errorFileNotFound, platform::errorAccessDenied}},
    {"queryRegistryText",
     {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorMoreData}},
    {"setRegistryText", {platform::errorAccessDenied, errorNotEnoughMemory, errorKeyDeleted}},
    {"setRegistryNumber", {platform::errorAccessDenied, errorNotEnoughMemory, errorKeyDeleted}},
    {"openOwnToken", {platform::errorAccessDenied, errorNotEnoughMemory}},
    {"findPrivilege", {errorNoSuchPrivilege}},
    {"adjustPrivilege", {platform::errorInvalidHandle, errorNotAllAssigned}},
    {"systemVersion", {platform::errorInvalidParameter}},
    {"loadLibrary", {errorNotEnoughMemory, errorModuleNotFound}},
    {"textFunction", {errorProcedureNotFound}},
};

bool isPipe(const std::wstring& path) {
    return upperCase(path).starts_with(L"\\\\.\\PIPE\\");
}

std::vector<ErrorCode> errorsOfCreateFile(const Operation& operation) {
    if (isPipe(operation.argument)) {
        return {platform::errorFileNotFound, platform::errorAccessDenied, errorPipeBusy};
    }
    return {platform::errorFileNotFound, platform::errorAccessDenied, platform::errorSharingViolation};
}

}  // namespace

std::vector<ErrorCode> errorsOf(const Operation& operation) {
    std::vector<ErrorCode> errors;
    const auto* found = std::find_if(std::begin(table), std::end(table), [&](const OperationErrors& entry) {
        return entry.operation == operation.name;
    });
    if (found != std::end(table)) {
        errors = found->errors;
    } else if (operation.name == "createFile") {
        errors = errorsOfCreateFile(operation);
    }
    if (operation.writes) {
        errors.push_back(platform::errorDiskFull);
    }
    return errors;
}

}  // namespace simulation
