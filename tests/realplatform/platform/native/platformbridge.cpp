// The native methods of com.example.platform.NativeBridge.

#include <windows.h>

#include <jni.h>

#include <string>

namespace {

constexpr DWORD bufferSize = 65536;

static_assert(sizeof(jchar) == sizeof(wchar_t), "Java and Windows texts have the same units");

std::wstring textOf(JNIEnv* environment, jstring text) {
    const auto length = static_cast<std::size_t>(environment->GetStringLength(text));
    const jchar* units = environment->GetStringChars(text, nullptr);
    std::wstring copy(reinterpret_cast<const wchar_t*>(units), length);
    environment->ReleaseStringChars(text, units);
    return copy;
}

void throwLastError(JNIEnv* environment, const char* message) {
    const std::string text = std::string(message) + ": error " + std::to_string(GetLastError());
    environment->ThrowNew(environment->FindClass("java/io/IOException"), text.c_str());
}

HANDLE instanceOf(jlong instance) {
    return reinterpret_cast<HANDLE>(instance);
}

// A launcher may connect, write and close its end before the platform waits for it. Its text can still be
// read.
bool hasOrHadClient(DWORD error) {
    return error == ERROR_PIPE_CONNECTED || error == ERROR_NO_DATA;
}

// A text ends with a two-byte NUL.
bool isWhole(const std::string& text) {
    return text.size() >= 2 && text.size() % 2 == 0 && text[text.size() - 1] == '\0' &&
           text[text.size() - 2] == '\0';
}

std::string readToEnd(HANDLE pipe) {
    std::string text;
    char buffer[4096];
    DWORD count = 0;
    while (!isWhole(text) && ReadFile(pipe, buffer, sizeof(buffer), &count, nullptr) != 0 && count > 0) {
        text.append(buffer, count);
    }
    return text;
}

}  // namespace

extern "C" {

JNIEXPORT void JNICALL Java_com_example_platform_NativeBridge_createSemaphore(JNIEnv* environment, jclass,
                                                                              jstring name) {
    // The handle is never closed, because the semaphore must exist until the process ends.
    if (CreateSemaphoreW(nullptr, 0, 1, textOf(environment, name).c_str()) == nullptr) {
        throwLastError(environment, "CreateSemaphoreW failed");
    }
}

JNIEXPORT jlong JNICALL Java_com_example_platform_NativeBridge_createPipeInstance(JNIEnv* environment, jclass,
                                                                                  jstring name) {
    // Duplex, because launchers open the pipe for reading and writing, though they only write.
    HANDLE pipe =
        CreateNamedPipeW(textOf(environment, name).c_str(), PIPE_ACCESS_DUPLEX,
                         PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
                         PIPE_UNLIMITED_INSTANCES, bufferSize, bufferSize, 0, nullptr);
    if (pipe == INVALID_HANDLE_VALUE) {
        throwLastError(environment, "CreateNamedPipeW failed");
    }
    return reinterpret_cast<jlong>(pipe);
}

JNIEXPORT void JNICALL Java_com_example_platform_NativeBridge_awaitClient(JNIEnv* environment, jclass,
                                                                          jlong instance) {
    if (ConnectNamedPipe(instanceOf(instance), nullptr) == 0 && !hasOrHadClient(GetLastError())) {
        throwLastError(environment, "ConnectNamedPipe failed");
    }
}

JNIEXPORT jbyteArray JNICALL Java_com_example_platform_NativeBridge_readText(JNIEnv* environment, jclass,
                                                                             jlong instance) {
    HANDLE pipe = instanceOf(instance);
    const std::string text = readToEnd(pipe);
    DisconnectNamedPipe(pipe);
    CloseHandle(pipe);
    const auto size = static_cast<jsize>(text.size());
    jbyteArray bytes = environment->NewByteArray(size);
    if (bytes != nullptr) {
        environment->SetByteArrayRegion(bytes, 0, size, reinterpret_cast<const jbyte*>(text.data()));
    }
    return bytes;
}

JNIEXPORT jstring JNICALL Java_com_example_platform_NativeBridge_commandLine(JNIEnv* environment, jclass) {
    const std::wstring text = GetCommandLineW();
    return environment->NewString(reinterpret_cast<const jchar*>(text.data()),
                                  static_cast<jsize>(text.size()));
}
}
