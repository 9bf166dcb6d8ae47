#include "engine/CancelCommand.h"

#include "engine/Log.h"
#include "engine/ThreadInfo.h"

int32_t CCancelCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return reader.ReadNumber(L"threadId", &threadId);
}

int32_t CCancelCommand::Execute(HANDLE, CRITICAL_SECTION* storeLock) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  LogMessage(enginetext::kThreadBegin, index, kTag, threadId);
  ThreadInfoType* info = FindThreadInfo(index, kTag, threadId, 0, storeLock);
  // Winning the exchange means the chain never ran and never will: release any
  // Join that waits for it.
  if (InterlockedExchange(&info->started, 1) == 0) SetEvent(info->joinEvent);
  SetEvent(info->cancelEvent);
  return frame.Done();
}
