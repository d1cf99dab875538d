#include "main/lib/base/component_repository.h"

#include "main/lib/base/debug.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>

namespace ztlib {

namespace {
constexpr char source[] = "main/lib/base/component_repository";
constexpr int cycleLine = 99;
constexpr int notRegisteredLine = 112;

void Print(const char* text) {
  std::fputs(text, stdout);
  std::fflush(stdout);
}
}  // namespace

component_detail::TypeId component_detail::NextTypeId() {
  static CMutex mutex(CMutex::Kind::Recursive);
  static TypeId last = 0;
  const CAutoLock lock(&mutex);
  return ++last;
}

CComponentRepository::CComponentRepository()
    : accessorMutex(CMutex::Kind::Recursive), mutex(CMutex::Kind::Recursive) {
  SetUnloadHandler(Unload);
}

// Not destroyed at process exit: other static objects may still log, and so may threads.
CComponentRepository& CComponentRepository::Instance() {
  static CComponentRepository& instance = *new CComponentRepository;
  return instance;
}

// The code itself is about to go, so nobody can ask for a component any more.
void CComponentRepository::Unload() {
  CComponentRepository& repository = Instance();
  for (std::size_t i = repository.creationOrder.size(); i-- > 0;)
    delete std::exchange(repository.components.at(repository.creationOrder[i]).instance, nullptr);
  delete &repository;
}

void CComponentRepository::Register(TypeId id, const char* className, Factory factory,
                                    std::atomic<IComponent*>& cache) {
  const CAutoLock lock(&mutex);
  const bool added =
      components.try_emplace(id, Entry{nullptr, std::move(factory), className, &cache}).second;
  if (!added) Print("\n-= Already registered component! =-\n");
}

IComponent* CComponentRepository::Get(TypeId id) {
  const CAutoLock accessorLock(&accessorMutex);
  const CAutoLock lock(&mutex);
  const auto found = components.find(id);
  if (found == components.end()) {
    Print("\n\n -= Not registered component! =- \n\n");
    ZT_THROW(CException, "Not registered component!", "Get", source, notRegisteredLine);
  }
  Entry& entry = found->second;
  if (!entry.instance && entry.factory) {
    if (std::find(creating.begin(), creating.end(), id) != creating.end()) {
      std::printf("\n\n -= Cycle in ComponentCreation (%s)! =- \n\n", entry.className.c_str());
      std::fflush(stdout);
      ZT_THROW(CException, "Cycle in ComponentCreation", "Get", source, cycleLine);
    }
    // A factory that throws leaves its id here: a service that fails at start stays failed. Only
    // memory may be there again the next time.
    creating.push_back(id);
    try {
      std::unique_ptr<IComponent> created(entry.factory());
      creationOrder.push_back(id);
      entry.instance = created.release();
    } catch (const std::bad_alloc&) {
      std::erase(creating, id);
      throw;
    }
    creating.pop_back();
  }
  entry.cache->store(entry.instance, std::memory_order_release);
  return entry.instance;
}

void CComponentRepository::DeleteAll() {
  const CAutoLock accessorLock(&accessorMutex);
  const CAutoLock lock(&mutex);
  std::printf("[ComponentRepository] Deleting %zu components (%zu registered)...\n",
              creationOrder.size(), components.size());
  std::fflush(stdout);
  // The loop goes by index because a destructor may create a component anew and so append one.
  for (std::size_t i = creationOrder.size(); i-- > 0;) {
    Entry& entry = components.at(creationOrder[i]);
    if (entry.instance) {
      entry.cache->store(nullptr, std::memory_order_release);
      delete std::exchange(entry.instance, nullptr);
    } else {
      std::printf("[ComponentRepository] (CRITICAL) Component of '%s' deleted twice!\n",
                  entry.className.c_str());
      std::fflush(stdout);
    }
  }
  Print("[ComponentRepository] Done!\n");
}

}  // namespace ztlib
