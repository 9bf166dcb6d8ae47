// CInstallCommand: the base of every command of an install script.
//
// The engine creates one object per script element through its exported factory,
// calls Load once with the element's attributes, and then, on each visit,
// IsRequired, Execute when required, and GetNextIndex. Commands never call each
// other: they meet in the engine's variable store.
//
// The virtual operations keep their documented slots, because the engine calls
// them by number: 0 Free, 1 deleting destructor, 2 GetIndex, 3 GetNextIndex,
// 4 Execute, 5 SetIndex, 6 Load, 7 LoadIndexes, 8 IsRequired.
#pragma once

#include <windows.h>
#include <msxml2.h>

#include <cstdint>

#include "engine/Attributes.h"
#include "engine/EngineTexts.h"
#include "engine/ExecuteFrame.h"
#include "engine/ScopedHandle.h"
#include "engine/SelfFree.h"

class CInstallCommand : public CSelfFree {
 public:
  CInstallCommand();
  ~CInstallCommand();

  virtual int32_t GetIndex();
  // The index to visit after this command: next, or index + 1 when next is
  // negative. 0 ends the walk.
  virtual int32_t GetNextIndex();
  // Runs the command. cancelHandle asks the walk to stop (-1 or 0 when there is
  // none); storeLock guards compound updates of the store. 0 lets the walk go on;
  // anything else stops it, above all 1359 when another thread runs this command.
  virtual int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock);
  virtual void SetIndex(int32_t newIndex);
  // Reads the attributes; releases the caller's reference on the map.
  virtual int32_t Load(IXMLDOMNamedNodeMap* attributes);
  // Reads index and next from the raw text, base 10, without the decrypter. For the
  // engine: nothing in the plug-in calls it.
  virtual int32_t LoadIndexes(IXMLDOMNamedNodeMap* attributes);
  // True when execCondition is unset or its int_ variable is non-zero on all 64 bits.
  virtual bool IsRequired();

  // Writes 1 to int_<errVar>. 87 when errVar is null.
  int32_t SetErrorVar();

  int32_t index;
  int32_t next;
  bool executed;
  ScopedNarrowText errVar;         // bare name, no prefix
  ScopedNarrowText execCondition;  // full name, int_ included
  CRITICAL_SECTION lock;

  SELFFREE_DESTRUCTOR(CInstallCommand)

 protected:
  // The start of every concrete Load: the common attributes through the base's
  // Load, on a reference of their own. Their failures are ignored, so a malformed
  // common attribute never fails a concrete command.
  void LoadCommon(IXMLDOMNamedNodeMap* attributes);
};
