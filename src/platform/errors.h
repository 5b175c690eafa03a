#pragma once

#include <cstdint>
#include <string>

// The system's error codes and their texts.
//
// Error convention of the system interface, for all headers of this folder: an operation that can
// fail says so in its result (false, an empty optional, the handle `none`, or a flag of the returned
// record) and leaves the system's error code in lastError(). After a success lastError() is
// unspecified. An operation whose failure no caller needs to know returns nothing.
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
inline constexpr ErrorCode errorNegativeSeek = 131;
inline constexpr ErrorCode errorDirectoryNotEmpty = 145;
inline constexpr ErrorCode errorNotLocked = 158;
inline constexpr ErrorCode errorAlreadyExists = 183;
inline constexpr ErrorCode errorBadProgram = 193;
inline constexpr ErrorCode errorFileNameTooLong = 206;
inline constexpr ErrorCode errorMoreData = 234;
inline constexpr ErrorCode errorDirectory = 267;

// The error code of this thread's last failed operation (GetLastError). Any later operation may
// change it, so read it right after the failure.
ErrorCode lastError();

// The system's text for an error code in the user's language, line end included (FormatMessageW from
// the system's tables). Empty if the system has no text for the code, or one with an insert such as
// `%1 is not a valid Win32 application`, because nothing is given to insert.
std::wstring errorText(ErrorCode code);

}  // namespace platform
