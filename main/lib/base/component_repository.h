#pragma once

#include "main/lib/base/synchron_pthread.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace ztlib {

// The common base of all components: singletons that are created on first use and deleted by
// CComponentRepository::DeleteAll in reverse order of creation.
class IComponent {
 public:
  virtual ~IComponent() = default;
};

namespace component_detail {
using TypeId = std::uint32_t;
TypeId NextTypeId();

// Identifies T for the life of the process; ids start at 1 in the order of first request.
template <class T>
TypeId TypeIdOf() {
  static const TypeId id = NextTypeId();
  return id;
}

// The fast road of Get: null until the component exists, and again after DeleteAll.
template <class T>
inline std::atomic<IComponent*> instanceCache{nullptr};
}  // namespace component_detail

// Makes the long-lived services when somebody asks for them, and deletes them in reverse order.
// Threads may ask at once.
class CComponentRepository {
 public:
  using TypeId = component_detail::TypeId;
  using Factory = std::function<IComponent*()>;

  static CComponentRepository& Instance();

  // Registers Concrete as the component behind Interface. A second registration of the same
  // interface changes nothing and says so on standard output.
  template <class Interface, class Concrete>
  void Register(const char* className) {
    Register(
        component_detail::TypeIdOf<Interface>(), className,
        [] { return static_cast<IComponent*>(static_cast<Interface*>(new Concrete)); },
        component_detail::instanceCache<Interface>);
  }

  // Returns the component, created now if need be. Throws CException "Not registered component!"
  // or, when factories ask for each other, "Cycle in ComponentCreation". A component that could not
  // be created for want of memory alone can be asked for again.
  IComponent* Get(TypeId id);

  // Deletes all components from the last created to the first. Components asked for later are
  // created anew.
  void DeleteAll();

 private:
  struct Entry {
    IComponent* instance = nullptr;
    Factory factory;
    std::string className;
    std::atomic<IComponent*>* cache = nullptr;
  };

  CComponentRepository();
  ~CComponentRepository() = default;
  // Gives back all that there is, components without a word, when the library is unloaded.
  static void Unload();
  void Register(TypeId id, const char* className, Factory factory, std::atomic<IComponent*>& cache);

  // Lock order: accessorMutex, then mutex. Both are recursive: a component may fetch others in its
  // constructor.
  CMutex accessorMutex;
  CMutex mutex;
  std::map<TypeId, Entry> components;
  std::vector<TypeId> creationOrder;
  std::vector<TypeId> creating;
};

// Returns the component T, created on first use. Safe from any thread.
template <class T>
T* Get() {
  IComponent* instance = component_detail::instanceCache<T>.load(std::memory_order_acquire);
  if (!instance) instance = CComponentRepository::Instance().Get(component_detail::TypeIdOf<T>());
  return static_cast<T*>(instance);
}

// A static object of this type in a component's source file registers it at load.
template <class Interface, class Concrete>
struct ComponentRegistration {
  explicit ComponentRegistration(const char* className) {
    CComponentRepository::Instance().Register<Interface, Concrete>(className);
  }
};

}  // namespace ztlib
