#include <zoactor/foundation/ZoInterfaceRegistry.h>

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoHashTable.h>

#include <mutex>

namespace {

std::mutex& RegistryMutex() {
  static std::mutex mutex;
  return mutex;
}

// Created on first use and kept until the process ends.
ZoDictionary& Registry() {
  static ZoDictionary* registry = new ZoDictionary(53);
  return *registry;
}

}  // namespace

int ZoInterfaceRegistry::Register(ZoString const& name, ZoAi* object) {
  if (name.IsEmpty() || object == nullptr) return 0;
  std::lock_guard<std::mutex> hold(RegistryMutex());
  Registry().Replace(name, object);
  return Registry().Find(name) == object ? 1 : 0;
}

int ZoInterfaceRegistry::Unregister(ZoString const& name) {
  std::lock_guard<std::mutex> hold(RegistryMutex());
  return Registry().Delete(name) != nullptr ? 1 : 0;
}

int ZoInterfaceRegistry::GetInterface(ZoString const& name, ZoAi** result) {
  std::lock_guard<std::mutex> hold(RegistryMutex());
  auto* found = static_cast<ZoAi*>(Registry().Find(name));
  if (result != nullptr) *result = found;
  return found != nullptr ? 1 : 0;
}

// --- ZoAi ----------------------------------------------------------------------

ZoAi::~ZoAi() = default;
ZoAiHookManager::~ZoAiHookManager() = default;
ZoAiSkill::~ZoAiSkill() = default;

char const* const ZoAiHookManager::INTERFACE_NAME = "ZoAiHookManager";

int32_t ZoAiHookManager::Offer(int32_t code, void* record) {
  // The name is made once: offers come once or twice per sphere-tree build
  // and file open, and need not allocate.
  static ZoString const name(INTERFACE_NAME);
  ZoAi* found = nullptr;
  if (ZoInterfaceRegistry::GetInterface(name, &found) == 0) return 0;
  auto* manager = dynamic_cast<ZoAiHookManager*>(found);
  return manager != nullptr ? manager->HandleRequest(code, record) : 0;
}
