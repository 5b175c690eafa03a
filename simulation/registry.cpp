#include "platform/registry.h"

#include "simulation/machine.h"
#include "simulation/machine_state.h"

namespace simulation {

namespace {

constexpr std::uint32_t statusMoreData = 234;

// A key by its root and path, without regard to case.
std::wstring nameOfKey(platform::RegistryRoot root, const std::wstring& path) {
    return (root == platform::RegistryRoot::localMachine ? L"HKLM\\" : L"HKCU\\") + upperCase(path);
}

const Object* keyObject(platform::RegistryKey key) {
    const auto found = self().objects.find(static_cast<std::uintptr_t>(key));
    return found != self().objects.end() && found->second->kind == ObjectKind::registryKey
               ? found->second.get()
               : nullptr;
}

// The values of an open key, or why they cannot be reached with it.
std::uint32_t findValues(platform::RegistryKey key, std::uint32_t access, RegistryValues*& values) {
    const Object* object = keyObject(key);
    if (object == nullptr) {
        return platform::errorInvalidHandle;
    }
    if ((object->registryAccess & access) == 0) {
        return platform::errorAccessDenied;
    }
    values = &machineOfSelf().registry.at(object->registryKey);
    return platform::errorSuccess;
}

// What a value takes, as units of two bytes.
std::wstring dataOf(const RegistryValue& value) {
    if (!value.number) {
        return value.text + L'\0';
    }
    return {static_cast<wchar_t>(*value.number & 0xFFFFU), static_cast<wchar_t>(*value.number >> 16U)};
}

std::uint32_t setValue(platform::RegistryKey key, const std::wstring& valueName, const RegistryValue& value) {
    RegistryValues* values = nullptr;
    const std::uint32_t error = findValues(key, platform::registrySetValue, values);
    if (error == platform::errorSuccess) {
        (*values)[upperCase(valueName)] = value;
    }
    return error;
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
using simulation::machineOfSelf;
using simulation::self;

std::uint32_t openRegistryKey(RegistryRoot root, const std::wstring& path, std::uint32_t access,
                              RegistryKey& key) {
    key = RegistryKey::none;
    if (const ErrorCode fault = beginOperation("openRegistryKey", path)) {
        return fault;
    }
    simulation::MachineState& machine = machineOfSelf();
    const std::wstring name = simulation::nameOfKey(root, path);
    if (machine.registry.count(name) == 0) {
        return errorFileNotFound;
    }
    if (machine.readOnlyRoots.count(root) != 0 && access != registryQueryValue) {
        return errorAccessDenied;
    }
    auto object = std::make_unique<simulation::Object>();
    object->kind = simulation::ObjectKind::registryKey;
    object->registryKey = name;
    object->registryAccess = access;
    const std::uintptr_t handle = machine.lastHandle += 4;
    self().objects[handle] = std::move(object);
    key = static_cast<RegistryKey>(handle);
    return errorSuccess;
}

std::uint32_t queryRegistryText(RegistryKey key, const std::wstring& valueName, std::uint32_t& size,
                                std::wstring& text) {
    if (const ErrorCode fault = beginOperation("queryRegistryText", valueName)) {
        return fault;
    }
    simulation::RegistryValues* values = nullptr;
    if (const std::uint32_t error = simulation::findValues(key, registryQueryValue, values)) {
        return error;
    }
    const auto value = values->find(simulation::upperCase(valueName));
    if (value == values->end()) {
        return errorFileNotFound;
    }
    const std::wstring data = simulation::dataOf(value->second);
    const auto needed = static_cast<std::uint32_t>(data.size() * 2);
    const bool fits = needed <= size;
    size = needed;
    if (!fits) {
        return simulation::statusMoreData;
    }
    text = data.substr(0, data.find(L'\0'));
    return errorSuccess;
}

std::uint32_t setRegistryText(RegistryKey key, const std::wstring& valueName, const std::wstring& text) {
    const ErrorCode fault = beginOperation("setRegistryText", valueName);
    return fault != errorSuccess ? fault : simulation::setValue(key, valueName, {text, {}});
}

std::uint32_t setRegistryNumber(RegistryKey key, const std::wstring& valueName, std::uint32_t number) {
    const ErrorCode fault = beginOperation("setRegistryNumber", valueName);
    return fault != errorSuccess ? fault : simulation::setValue(key, valueName, {{}, number});
}

void closeRegistryKey(RegistryKey key) {
    beginOperation("closeRegistryKey");
    if (simulation::keyObject(key) != nullptr) {
        self().objects.erase(static_cast<std::uintptr_t>(key));
    }
}

}  // namespace platform
