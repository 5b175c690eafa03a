#pragma once

#include <cstdint>
#include <string>

// The system's error codes, and the texts that the system has for them.
namespace platform {

using ErrorCode = std::uint32_t;

inline constexpr ErrorCode errorSuccess = 0;
inline constexpr ErrorCode errorFileNotFound = 2;
inline constexpr ErrorCode errorPathNotFound = 3;
inline constexpr ErrorCode errorAccessDenied = 5;
inline constexpr ErrorCode errorInvalidHandle = 6;
inline constexpr ErrorCode errorNoMoreFiles = 18;
inline constexpr ErrorCode errorSharingViolation = 32;
inline constexpr ErrorCode errorLockViolation = 33;
inline constexpr ErrorCode errorFileExists = 80;
inline constexpr ErrorCode errorInvalidParameter = 87;
inline constexpr ErrorCode errorDiskFull = 112;
inline constexpr ErrorCode errorInvalidName = 123;
inline constexpr ErrorCode errorDirectoryNotEmpty = 145;
inline constexpr ErrorCode errorNotLocked = 158;
inline constexpr ErrorCode errorAlreadyExists = 183;
inline constexpr ErrorCode errorFileNameTooLong = 206;
inline constexpr ErrorCode errorDirectory = 267;

// The code that the last failed operation of this thread left (GetLastError). Any later operation
// of the seam may change it, so it is read straight after the failure.
ErrorCode lastError();

// The system's text for a code in the user's language (FormatMessageW from the system's tables, no
// inserts), its line end included. Empty when the system has no text for the code.
std::wstring errorText(ErrorCode code);

}  // namespace platform
