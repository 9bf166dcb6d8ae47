// One reporting session: the report file it appends to, the lock that keeps its
// lines whole and in order when several threads call at once, and the reports
// begun and not yet ended.
//
// Each call writes one line and answers the call's status, or the write's error
// when its line could not be written: this library exists to leave evidence,
// and a call whose evidence is lost must not pass for one that left it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>

#include "standins/usagereporting/FaultMode.h"
#include "standins/usagereporting/JsonLine.h"
#include "standins/usagereporting/ReportFolder.h"

class Client {
 public:
  Client(ScopedFile file, const wchar_t* productName, const wchar_t* salesChannel, const FaultMode& faults);
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // The line of a call that begins or ends nothing.
  int32_t Log(const char* call, const JsonObject& args, int32_t status);
  // A new report under a new handle (1, 2, ...), or the handle the fault mode
  // fixes. A refused call gives handle 0 where it can.
  int32_t Begin(const wchar_t* name, int* handle);
  // Ends the report of handle, logging its duration; 1168 and a null duration
  // when no report of that handle runs. The handle alone names the report.
  int32_t End(const wchar_t* name, int handle);

 private:
  // The start of a line, up to its call; the lock is held.
  JsonObject Head(const char* call) const;
  // Adds the status, writes the line; the lock is held.
  int32_t Write(JsonObject* line, int32_t status);
  long long Counter() const;

  SRWLOCK lock_ = SRWLOCK_INIT;
  ScopedFile file_;
  // Product and channel never change: made JSON once.
  const std::string product_, channel_;
  const FaultMode faults_;
  long long counterFrequency_ = 1;
  int issued_ = 0;
  std::map<int, long long> running_;  // handle -> counter at BeginReport
};
