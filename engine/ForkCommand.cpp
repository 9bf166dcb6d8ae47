#include "engine/ForkCommand.h"

#include "engine/Log.h"
#include "engine/ThreadInfo.h"

int32_t CForkCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  HRESULT hr = reader.ReadNumber(L"threadId", &threadId);
  if (hr != S_OK) return hr;
  return reader.ReadNumber(L"threadStart", &threadStart);
}

int32_t CForkCommand::Execute(HANDLE, CRITICAL_SECTION* storeLock) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  LogMessage(enginetext::kForkBegin, index, kTag, threadId, threadStart);
  ThreadInfoType* info = FindThreadInfo(index, kTag, threadId, threadStart, storeLock);
  if (InterlockedExchange(&info->started, 1) == 0) {
    LogMessage(enginetext::kForkStarting, index, kTag, threadId);
    // A Join or Cancel that came first made the record with no start of its own.
    info->threadStart = threadStart;
    info->threadHandle = CreateThread(nullptr, 0, ForkThreadProc, info, 0, nullptr);
  }
  return frame.Done();
}
