// /result=<file.json>: a machine-readable account of one run for the tools that
// deploy the product, written at the end of every run, a failed one too.
//
// The file is written whole to a temporary file beside it and then renamed over
// the target, so a reader sees the last complete result or none, never half a
// file.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

struct RunRecord {
  int exitCode = 0;
  const wchar_t* meaning = L"";  // one of the meanings of the exit codes
  std::wstring message;          // what the engine printed about its own failure, if anything
  bool walked = false;           // the walk ran, so returnCode is meaningful
  int64_t returnCode = 0;        // int_ReturnCode at the end
  bool cancelled = false;
  // The command that stopped the walk, or whose next named no command.
  int32_t stoppedIndex = 0;
  std::wstring stoppedElement;
  long stoppedLine = 0;
  int32_t stoppedStatus = 0;
  std::wstring errors;   // what the error collector gathered
  std::wstring logPath;  // the merged log this run left, if any
  uint32_t pendingRenamesAdded = 0;  // entries this run added to the pending rename list
  uint32_t mainCommands = 0;
  std::map<int32_t, uint32_t> chainCommands;  // by threadId
  uint64_t startTick = 0;
};

// Writes the record as JSON to path, atomically. False with the error number.
bool WriteResultFile(const std::wstring& path, const RunRecord& record, uint32_t* error);

// The number of entries (source and target pairs) in the pending rename list.
uint32_t PendingRenameCount();

// The merged logs in the common application data folder, by full path.
std::set<std::wstring> MergedLogs();
