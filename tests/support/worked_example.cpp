#include "support/worked_example.h"

#include <algorithm>

namespace launchertest {

namespace {

std::wstring joined(const std::vector<std::wstring>& elements, wchar_t separator) {
    std::wstring text;
    for (const std::wstring& element : elements) {
        if (!text.empty()) {
            text += separator;
        }
        text += element;
    }
    return text;
}

}  // namespace

zellauncher::PropertyList exampleInstallProperties() {
    return {{L"zel.base.location", L"C:/Apps/Client/zel/eclipse/plugins/base_1.0"},
            {L"zel.install.id", L"1234"},
            {L"vm", L"C:/Apps/Client/jvm/bin/javaw.exe"},
            {L"application", L"com.example.app"},
            {L"plugincustomization", L"C:/Apps/Client/custom.ini"},
            {L"-Dfoo", L"bar"},
            {L"-Xmx", L"512m"},
            {L"vmfix.noconsole", L"-Dvmfix=${workspace.location}/log"},
            {L"library.path.prepend", L"C:/Apps/Client/bin"},
            {L"jvm.library.path", L"${prop.java.home}/jvm/bin"},
            {L"java.home", L"C:/Apps/Client"}};
}

zellauncher::PropertyList exampleLauncherProperties() {
    return {{L"zel.install.id", L"1234"},
            {L"product", L"com.example.product"},
            {L"osgi.splashPath", L"file:/C:/Apps/Client/splash"}};
}

zellauncher::VmargOverrides exampleOverrides() {
    return {{L"vmarg.Xss", L"-Xss256k"}};
}

void layOutExample(simulation::Machine& machine) {
    machine.makeDirectory(L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs");
    machine.setEnvironment(L"HOMEPATH", L"/Users/ann");
    machine.writeFile(L"C:\\Apps\\Client\\zel\\eclipse\\plugins\\base_1.0\\win32\\x86_64\\eclipse.exe", "");
    machine.writeFile(L"C:\\Apps\\Client\\custom.ini", "");
}

std::vector<std::wstring> exampleElements() {
    return {
        L"\"C:/Apps/Client/zel/eclipse/plugins/base_1.0\\win32\\x86_64\\eclipse.exe\"",
        L"--launcher.suppressErrors",
        L"-data",
        L"\"C:/Users/ann/Mivel/ZEL/1234/ann\"",
        L"-configuration",
        L"\"C:/Users/ann/Mivel/ZEL/1234/ann/.config\"",
        L"-application",
        L"\"com.example.app\"",
        L"-plugincustomization",
        L"\"C:/Apps/Client/custom.ini\"",
        L"-product",
        L"\"com.example.product\"",
        L"-vm",
        L"\"C:/Apps/Client/jvm/bin/javaw.exe\"",
        L"-startup",
        L"\"C:/Apps/Client/zel/eclipse/plugins/base_1.0/launcher.jar\"",
        L"-vmargs",
        L"\"-Dvmfix=C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\log\"",
        L"\"-Xss256k\"",
        L"-Dzel.home=\"C:\\Apps\\Client\"",
        L"-Dzel.data=\"C:/Users/ann/Mivel/ZEL/1234/ann\"",
        L"-Dosgi.splashPath=\"file:/C:/Apps/Client/splash\"",
        L"-Dcom.mivel.zel.install.id=\"1234\"",
        L"-Dzel.install.config=\"user\"",
        L"-Dfoo=\"bar\"",
        L"-Djava.library.path=\"C:/Apps/Client/jvm/bin;C:/Apps/Client/bin\"",
        L"-Dzel.osgi.install.area=\"C:\\Apps\\Client\\zel\\eclipse\"",
        L"\"-Xmx512m\"",
    };
}

std::wstring asCommandLine(const std::vector<std::wstring>& elements) {
    return joined(elements, L' ');
}

std::wstring withoutQuotes(const std::vector<std::wstring>& elements, wchar_t separator) {
    std::wstring text = joined(elements, separator);
    std::erase(text, L'"');
    return text;
}

std::wstring asHandOff(const std::vector<std::wstring>& elements, std::int32_t ownerPid) {
    std::vector<std::wstring> words = elements;
    words.insert(std::find(words.begin(), words.end(), L"-startup"),
                 {L"-useDaemon", std::to_wstring(ownerPid)});
    return withoutQuotes(words, L'\n');
}

}  // namespace launchertest
