// The five usage reporting commands of a script. UsageReportingInit makes and
// publishes the reporting object; the other four use it when it is there, and are
// logged no-ops when it is not. Every one of them answers 0 once it has its lock:
// what the client answers only goes to the log.
//
//   <UsageReportingInit productName="Tool" salesChannel="[Channel]" dbPath="[Data]"/>
//   <UsageReportingBeginReport name="unpack" variable="UnpackReport"/>   (int_UnpackReport)
#pragma once

#include "engine/InstallCommand.h"
#include "engine/VarName.h"
#include "reporting/ReportingTexts.h"

class CUsageReportingInitCommand : public CInstallCommand {
 public:
  static constexpr FrameStyle kFrame{reporttext::kInitTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  // productName is passed as written; the other two are expanded on every run,
  // even when an earlier Init already published the object.
  ScopedText productName;
  ScopedText salesChannel;
  ScopedText dbPath;

  SELFFREE_DESTRUCTOR(CUsageReportingInitCommand)
};

class CUsageReportingSetPropertyCommand : public CInstallCommand {
 public:
  static constexpr FrameStyle kFrame{reporttext::kSetPropertyTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText name;
  ScopedText value;

  SELFFREE_DESTRUCTOR(CUsageReportingSetPropertyCommand)
};

class CUsageReportingReportCommand : public CInstallCommand {
 public:
  static constexpr FrameStyle kFrame{reporttext::kReportTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText eventName;

  SELFFREE_DESTRUCTOR(CUsageReportingReportCommand)
};

// BeginReport and EndReport: a report's name and the int_ variable that holds its
// handle between the two.
class CUsageReportingSpanCommand : public CInstallCommand {
 public:
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText name;
  VarName variable;

  SELFFREE_DESTRUCTOR(CUsageReportingSpanCommand)
};

class CUsageReportingBeginReportCommand : public CUsageReportingSpanCommand {
 public:
  static constexpr FrameStyle kFrame{reporttext::kBeginReportTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;

  SELFFREE_DESTRUCTOR(CUsageReportingBeginReportCommand)
};

class CUsageReportingEndReportCommand : public CUsageReportingSpanCommand {
 public:
  static constexpr FrameStyle kFrame{reporttext::kEndReportTag};

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;

  SELFFREE_DESTRUCTOR(CUsageReportingEndReportCommand)
};
