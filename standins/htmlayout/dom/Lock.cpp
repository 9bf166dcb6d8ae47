#include "standins/htmlayout/dom/Lock.h"

#include "standins/htmlayout/dom/Element.h"

namespace hl {

DomainLock* NewDomainLock() { return new DomainLock(); }

DomainLock* DetachedDomain() {
  static DomainLock* const detached = new DomainLock();
  return detached;
}

DomainLock* DomainOf(const Element* element) {
  DomainLock* domain = __atomic_load_n(&element->domain, __ATOMIC_ACQUIRE);
  return domain ? domain : DetachedDomain();
}

namespace {
// Documents by address first, the detached domain last.
bool TakenBefore(DomainLock* a, DomainLock* b) {
  if (a == DetachedDomain()) return false;
  if (b == DetachedDomain()) return true;
  return a < b;
}
}  // namespace

ElementLock::ElementLock(const Element* first, const Element* second, bool withDetached) {
  for (;;) {
    DomainLock* wanted[3] = {DomainOf(first), second ? DomainOf(second) : nullptr,
                             withDetached ? DetachedDomain() : nullptr};
    DomainLock* order[3] = {nullptr, nullptr, nullptr};
    size_t count = 0;
    for (DomainLock* lock : wanted) {
      if (!lock) continue;
      bool known = false;
      for (size_t i = 0; i < count; ++i) known = known || order[i] == lock;
      if (!known) order[count++] = lock;
    }
    for (size_t i = 1; i < count; ++i) {
      for (size_t j = i; j > 0 && TakenBefore(order[j], order[j - 1]); --j) std::swap(order[j], order[j - 1]);
    }
    for (size_t i = 0; i < count; ++i) EnterCriticalSection(&order[i]->section);
    bool moved = DomainOf(first) != wanted[0] || (second && DomainOf(second) != wanted[1]);
    if (!moved) {
      for (size_t i = 0; i < count; ++i) held_[i] = order[i];
      return;
    }
    for (size_t i = count; i > 0; --i) LeaveCriticalSection(&order[i - 1]->section);
  }
}

ElementLock::~ElementLock() {
  for (size_t i = 3; i > 0; --i) {
    if (held_[i - 1]) LeaveCriticalSection(&held_[i - 1]->section);
  }
}

}  // namespace hl
