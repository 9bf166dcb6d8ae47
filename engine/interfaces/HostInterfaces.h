// The binary interface between the plug-in and the engine that hosts it: the
// objects the engine publishes in the store, and the layout of its command map.
// Both sides include this one header, so the layout is declared once.
#pragma once

#include <cstdint>
#include <map>

#include "engine/ComError.h"
#include "engine/SelfFree.h"

class CInstallCommand;

// The engine's map from index to command, published as "commands". The plug-in
// looks commands up with the index operator, the engine owns the objects.
typedef std::map<int32_t, CInstallCommand*> CommandMap;

// The object under SelfFree_Decrypter. Every attribute value passes through
// Decrypt before use. The result stays the decrypter's, may be overwritten in place
// by the caller, and is copied if it is to be kept.
class IDecrypter : public CSelfFree {
 public:
  virtual wchar_t* Decrypt(const wchar_t* text) = 0;  // slot 2
};

// A list of wide texts, the value of MultiString_ variables.
class MultiStringList : public CSelfFree {
 public:
  virtual const wchar_t* GetItem(int32_t index) = 0;              // slot 2: null when out of range
  virtual void AddString(const wchar_t* text) = 0;                // slot 3: appends a copy
  virtual void SetItem(int32_t index, const wchar_t* text) = 0;   // slot 4
  virtual void RemoveItem(int32_t index) = 0;                     // slot 5
  virtual void Clear() = 0;                                       // slot 6
  virtual int32_t IndexOf(const wchar_t* text) = 0;               // slot 7: -1 when absent
  virtual int32_t GetCount() = 0;                                 // slot 8
  // Slots 9 to 11: the flat form, each text with its terminator and one more
  // terminator at the end, as REG_MULTI_SZ data takes it. GetLength counts wide
  // characters, terminators included.
  virtual int32_t GetLength() = 0;
  virtual wchar_t* GetBuffer() = 0;
  virtual void ReleaseBuffer() = 0;
};

// The object under SelfFree_MultiStringApi.
class MultiStringApi : public CSelfFree {
 public:
  virtual MultiStringList* CreateList() = 0;  // slot 2
};

// ComError, raised while reading attributes, is the engine's own (engine/ComError.h)
// and reaches both sides through here.
