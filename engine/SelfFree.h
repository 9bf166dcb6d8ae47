// Value classes that cross the boundary between the plug-in and the engine.
//
// Everything the plug-in hands to the engine's store derives from CSelfFree, so
// that the engine can release any stored object without knowing its class: slot 0
// is Free, slot 1 the deleting destructor. A host built by another compiler calls
// these slots by number, so the layout must not move.
//
// GCC gives a virtual destructor two vtable slots (complete and deleting), which
// would shift every later slot. So the destructors here are not virtual; slot 1 is
// an explicit deleting destructor that takes the MSVC-style flags (bit 0: free the
// memory) and that every class with state of its own overrides through
// SELFFREE_DESTRUCTOR.
#pragma once

#include <cstdint>
#include <cstddef>

class CSelfFree {
 public:
  // Slot 0. Destroys the object and frees its memory.
  virtual void Free();
  // Slot 1. Runs the destructor of the most derived class; frees the memory when
  // bit 0 of flags is set. Returns the object's address.
  virtual void* DeletingDestructor(unsigned int flags);

 protected:
  CSelfFree() = default;
  ~CSelfFree() = default;
};

// Overrides slot 1 for Class, so that its (non-virtual) destructor runs, and with
// it the destructors of its bases.
#define SELFFREE_DESTRUCTOR(Class)                                   \
 public:                                                             \
  void* DeletingDestructor(unsigned int flags) override {            \
    this->~Class();                                                  \
    if (flags & 1) ::operator delete(static_cast<void*>(this));      \
    return this;                                                     \
  }

// Releases an object that may be null: Free itself is never called on null.
inline void SelfFreeRelease(CSelfFree* object) {
  if (object != nullptr) object->Free();
}

// Owned wide text: the value of a String_ variable. The text is always a private
// copy made with _wcsdup and released with free. The field stays a raw pointer,
// freed by the destructor: engine and plug-in read it as a plain field of the
// store's value, as a host built by another compiler would.
class CString : public CSelfFree {
 public:
  explicit CString(const wchar_t* source);
  ~CString();

  wchar_t* text;

  SELFFREE_DESTRUCTOR(CString)
};

// Makes a CString of source. Returns null when memory runs out: a store value of 0
// then reads as an absent variable, which every reader handles.
CString* MakeString(const wchar_t* source);

// Owned bytes: the value of SelfFree_ variables that hold binary registry data.
// Raw fields for the same reason as CString's.
class CBuffer : public CSelfFree {
 public:
  CBuffer(const void* source, uint64_t count);
  ~CBuffer();

  uint8_t* data;
  uint64_t size;

  SELFFREE_DESTRUCTOR(CBuffer)
};
