#include "fileutil/box/factory_set.h"

#include "qv/mp4/start_up.h"
#include "qv/win32.h"

#include <mutex>
#include <new>

namespace fileutil {

namespace {

std::mutex lock;
std::weak_ptr<const FactorySet> current;
std::shared_ptr<const FactorySet> started; ///< held between start-up and shut-down
uint32_t uses = 0;                         ///< start-ups that were not given back

std::shared_ptr<const FactorySet> currentSet() {
  std::shared_ptr<const FactorySet> set = current.lock();
  if (set == nullptr) current = set = std::make_shared<const FactorySet>();
  return set;
}

} // namespace

std::shared_ptr<const FactorySet> useFactories() {
  const std::lock_guard guard(lock);
  return currentSet();
}

} // namespace fileutil

HRESULT Mpeg4MetaStartUp(void) try {
  const std::lock_guard guard(fileutil::lock);
  if (fileutil::uses == 0) fileutil::started = fileutil::currentSet();
  ++fileutil::uses;
  return S_OK;
} catch (const std::bad_alloc&) {
  return E_OUTOFMEMORY;
}

HRESULT Mpeg4MetaShutDown(void) {
  std::shared_ptr<const fileutil::FactorySet> last; // destroyed behind the lock
  const std::lock_guard guard(fileutil::lock);
  if (fileutil::uses > 0 && --fileutil::uses == 0) last.swap(fileutil::started);
  return S_OK;
}
