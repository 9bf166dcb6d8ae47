// The locks of the document tree.
//
// Every element belongs to one lock domain: the domain of its document while it
// is part of one, or the single domain of detached elements (elements made by
// HTMLayoutCreateElement, taken out of their document, or left over from a
// document that was replaced while someone held them). A second thread calls
// element functions while the window's thread paints, so every call takes the
// domain of each element it touches for its whole duration.
//
// Rules that keep this free of deadlocks:
// - Several domains are taken in one order: documents by address, the detached
//   domain last.
// - No user code runs with a domain held: callbacks (visits, writers, the
//   notification callback) are called after the lock is left.
// - No message is ever sent to a window while a domain is held; changes only
//   invalidate (InvalidateRect queues a paint, it sends nothing).
//
// A domain's lock is never freed: a thread may read an element's domain just
// before the document goes away, and must still be able to take that lock to
// find out that the element has moved. One small lock per loaded page.
#pragma once

#include <windows.h>

namespace hl {

class Element;

struct DomainLock {
  CRITICAL_SECTION section;
  DomainLock() { InitializeCriticalSection(&section); }
  DomainLock(const DomainLock&) = delete;
  DomainLock& operator=(const DomainLock&) = delete;
};

// A new domain for a new document; it lives until the process ends.
DomainLock* NewDomainLock();
// The domain of detached elements.
DomainLock* DetachedDomain();
// The domain an element is in now (null in Element::domain means detached).
DomainLock* DomainOf(const Element* element);

// Holds the domains of one or two elements for a scope. After taking them it
// checks that the elements did not move meanwhile, and starts over if they did.
// Changes that move elements out of a document (detach, delete, replacing the
// content) need the detached domain as well: withDetached.
class ElementLock {
 public:
  explicit ElementLock(const Element* first, const Element* second = nullptr, bool withDetached = false);
  ~ElementLock();
  ElementLock(const ElementLock&) = delete;
  ElementLock& operator=(const ElementLock&) = delete;

 private:
  DomainLock* held_[3] = {nullptr, nullptr, nullptr};
};

// Holds one domain, e.g. the one of a document.
class DomainGuard {
 public:
  explicit DomainGuard(DomainLock* lock) : lock_(lock) { EnterCriticalSection(&lock_->section); }
  ~DomainGuard() { LeaveCriticalSection(&lock_->section); }
  DomainGuard(const DomainGuard&) = delete;
  DomainGuard& operator=(const DomainGuard&) = delete;

 private:
  DomainLock* lock_;
};

}  // namespace hl
