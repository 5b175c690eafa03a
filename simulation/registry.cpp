#include "platform/registry.h"

#include "simulation/machine.h"
#include "simulation/machine_state.h"

namespace simulation {

namespace {

// Name of a key by its root and path; case is ignored.
std::wstring nameOfKey(platform::RegistryRoot root, const std::wstring& path) {
    return (root == platform::RegistryRoot::localMachine ? L"HKLM\\" : L"HKCU\\") + upperCase(path);
}

Object* keyObject(platform::RegistryKey key) {
    return objectOf(static_cast<std::uintptr_t>(key), ObjectKind::registryKey);
}

// The values of a key that was opened with this access; null with the last error set.
RegistryValues* findValues(platform::RegistryKey key, std::uint32_t access) {
    const Object* object = keyObject(key);
    if (object == nullptr || (object->registryAccess & access) == 0) {
        failWith(object == nullptr ? platform::errorInvalidHandle : platform::errorAccessDenied);
        return nullptr;
    }
    return &machineOfSelf().registry.at(object->registryKey);
}

void appendByte(std::string& bytes, std::uint32_t byte) {
    bytes += static_cast<char>(static_cast<unsigned char>(byte & 0xFFU));
}

std::uint32_t byteAt(const std::string& bytes, std::size_t position) {
    return position < bytes.size() ? static_cast<unsigned char>(bytes[position]) : 0U;
}

StoredValue asStored(const std::wstring& text) {
    StoredValue value;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        const std::uint32_t unit = i < text.size() ? static_cast<std::uint32_t>(text[i]) : 0U;
        appendByte(value.bytes, unit);
        appendByte(value.bytes, unit >> 8U);
    }
    return value;
}

StoredValue asStored(std::uint32_t number) {
    StoredValue value;
    value.isNumber = true;
    for (std::uint32_t shift = 0; shift < 32; shift += 8) {
        appendByte(value.bytes, number >> shift);
    }
    return value;
}

// The units of the data up to the first NUL. The upper half of the last one may be missing.
std::wstring textOf(const StoredValue& value) {
    std::wstring text;
    for (std::size_t i = 0; i < value.bytes.size(); i += 2) {
        text += static_cast<wchar_t>(byteAt(value.bytes, i) | byteAt(value.bytes, i + 1) << 8U);
    }
    return text.substr(0, text.find(L'\0'));
}

bool setValue(platform::RegistryKey key, const std::wstring& valueName, const StoredValue& value) {
    RegistryValues* values = findValues(key, platform::registrySetValue);
    if (values == nullptr) {
        return false;
    }
    (*values)[upperCase(valueName)] = value;
    return true;
}

}  // namespace

void Machine::makeRegistryKey(platform::RegistryRoot root, const std::wstring& key) {
    state->registry[nameOfKey(root, key)];
}

void Machine::refuseRegistryChanges(platform::RegistryRoot root) {
    state->readOnlyRoots.insert(root);
}

void Machine::setRegistryText(const std::wstring& key, const std::wstring& value, const std::wstring& text) {
    state->registry[nameOfKey(platform::RegistryRoot::localMachine, key)][upperCase(value)] = asStored(text);
}

void Machine::setRegistryBytes(platform::RegistryRoot root, const std::wstring& key,
                               const std::wstring& value, const std::string& bytes) {
    state->registry[nameOfKey(root, key)][upperCase(value)] = {bytes, false};
}

void Machine::removeRegistryText(const std::wstring& key, const std::wstring& value) {
    state->registry[nameOfKey(platform::RegistryRoot::localMachine, key)].erase(upperCase(value));
}

std::optional<RegistryValue> Machine::registryValue(platform::RegistryRoot root, const std::wstring& key,
                                                    const std::wstring& value) const {
    const auto values = state->registry.find(nameOfKey(root, key));
    if (values == state->registry.end() || values->second.count(upperCase(value)) == 0) {
        return std::nullopt;
    }
    const StoredValue& stored = values->second.at(upperCase(value));
    if (!stored.isNumber) {
        return RegistryValue{textOf(stored), {}};
    }
    std::uint32_t number = 0;
    for (std::size_t i = stored.bytes.size(); i-- > 0;) {
        number = number << 8U | byteAt(stored.bytes, i);
    }
    return RegistryValue{{}, number};
}

}  // namespace simulation

namespace platform {

using simulation::beginOperation;
using simulation::failWith;
using simulation::machineOfSelf;
using simulation::self;

namespace {

RegistryKey refuseKey(ErrorCode error) {
    failWith(error);
    return RegistryKey::none;
}

std::optional<std::wstring> refuseText(ErrorCode error) {
    failWith(error);
    return std::nullopt;
}

}  // namespace

RegistryKey openRegistryKey(RegistryRoot root, const std::wstring& path, std::uint32_t access) {
    if (const ErrorCode fault = beginOperation("openRegistryKey", path, false, {access})) {
        return refuseKey(fault);
    }
    simulation::MachineState& machine = machineOfSelf();
    const std::wstring name = simulation::nameOfKey(root, path);
    if (machine.registry.count(name) == 0) {
        return refuseKey(errorFileNotFound);
    }
    if (machine.readOnlyRoots.count(root) != 0 && access != registryQueryValue) {
        return refuseKey(errorAccessDenied);
    }
    auto object = std::make_unique<simulation::Object>();
    object->kind = simulation::ObjectKind::registryKey;
    object->registryKey = name;
    object->registryAccess = access;
    return static_cast<RegistryKey>(simulation::addObject(std::move(object)));
}

std::optional<std::wstring> queryRegistryText(RegistryKey key, const std::wstring& valueName,
                                              std::uint32_t& size) {
    if (const ErrorCode fault = beginOperation("queryRegistryText", valueName)) {
        return refuseText(fault);
    }
    const simulation::RegistryValues* values = simulation::findValues(key, registryQueryValue);
    if (values == nullptr) {
        return std::nullopt;
    }
    const auto value = values->find(simulation::upperCase(valueName));
    if (value == values->end()) {
        return refuseText(errorFileNotFound);
    }
    const auto needed = static_cast<std::uint32_t>(value->second.bytes.size());
    const bool fits = needed <= size;
    size = needed;
    if (!fits) {
        return refuseText(errorMoreData);
    }
    return simulation::textOf(value->second);
}

bool setRegistryText(RegistryKey key, const std::wstring& valueName, const std::wstring& text) {
    if (const ErrorCode fault = beginOperation("setRegistryText", valueName)) {
        return failWith(fault);
    }
    return simulation::setValue(key, valueName, simulation::asStored(text));
}

bool setRegistryNumber(RegistryKey key, const std::wstring& valueName, std::uint32_t number) {
    if (const ErrorCode fault = beginOperation("setRegistryNumber", valueName)) {
        return failWith(fault);
    }
    return simulation::setValue(key, valueName, simulation::asStored(number));
}

void closeRegistryKey(RegistryKey key) {
    beginOperation("closeRegistryKey");
    if (simulation::keyObject(key) != nullptr) {
        self().objects.erase(static_cast<std::uintptr_t>(key));
    }
}

}  // namespace platform
