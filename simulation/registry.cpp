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

// The data of a value in units of two bytes.
std::wstring dataOf(const RegistryValue& value) {
    if (!value.number) {
        return value.text + L'\0';
    }
    return {static_cast<wchar_t>(*value.number & 0xFFFFU), static_cast<wchar_t>(*value.number >> 16U)};
}

bool setValue(platform::RegistryKey key, const std::wstring& valueName, const RegistryValue& value) {
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
    state->registry[nameOfKey(platform::RegistryRoot::localMachine, key)][upperCase(value)] = {text, {}};
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
    return values->second.at(upperCase(value));
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
    const std::wstring data = simulation::dataOf(value->second);
    const auto needed = static_cast<std::uint32_t>(data.size() * 2);
    const bool fits = needed <= size;
    size = needed;
    if (!fits) {
        return refuseText(errorMoreData);
    }
    return data.substr(0, data.find(L'\0'));
}

bool setRegistryText(RegistryKey key, const std::wstring& valueName, const std::wstring& text) {
    if (const ErrorCode fault = beginOperation("setRegistryText", valueName)) {
        return failWith(fault);
    }
    return simulation::setValue(key, valueName, {text, {}});
}

bool setRegistryNumber(RegistryKey key, const std::wstring& valueName, std::uint32_t number) {
    if (const ErrorCode fault = beginOperation("setRegistryNumber", valueName)) {
        return failWith(fault);
    }
    return simulation::setValue(key, valueName, {{}, number});
}

void closeRegistryKey(RegistryKey key) {
    beginOperation("closeRegistryKey");
    if (simulation::keyObject(key) != nullptr) {
        self().objects.erase(static_cast<std::uintptr_t>(key));
    }
}

}  // namespace platform
