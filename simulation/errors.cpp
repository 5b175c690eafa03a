#include "platform/errors.h"

#include "simulation/machine_state.h"

namespace platform {

using simulation::self;

namespace {

// The system has texts for its own codes, and for the same codes as HRESULTs.
bool hasText(ErrorCode code) {
    return code < 16000 || code >> 16U == 0x8007U;
}

}  // namespace

ErrorCode lastError() {
    return self().lastError;
}

std::wstring errorText(ErrorCode code) {
    switch (code) {
        case errorSuccess:
            return L"The operation completed successfully.\r\n";
        case errorFileNotFound:
            return L"The system cannot find the file specified.\r\n";
        case errorPathNotFound:
            return L"The system cannot find the path specified.\r\n";
        case errorAccessDenied:
            return L"Access is denied.\r\n";
        case errorSharingViolation:
            return L"The process cannot access the file because it is being used by another process.\r\n";
        case errorDiskFull:
            return L"There is not enough space on the disk.\r\n";
        case errorDirectoryNotEmpty:
            return L"The directory is not empty.\r\n";
        case errorAlreadyExists:
            return L"Cannot create a file when that file already exists.\r\n";
        case errorFileNameTooLong:
            return L"The filename or extension is too long.\r\n";
        case errorBadProgram:
            return L"";  // its text has an insert
        default:
            return hasText(code) ? L"The system has a text for this.\r\n" : L"";
    }
}

}  // namespace platform
