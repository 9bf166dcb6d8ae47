// Usage reporting: the one object that talks to the usage statistics client,
// published as SelfFree_UsageReportingApi by the first UsageReportingInit that
// succeeds.
//
// The client is the class Norvane::UsageReportingClientT<wchar_t> of
// UsageReporting.dll, bound at the first Init from the plug-in's own folder and
// never through the import table: a machine without the library still installs,
// and only its reports are lost.
//
// Reporting must never stop an install. Every operation answers a status (0, 160
// for a null argument, 21 when there is no client, otherwise the client's own),
// and the commands only log it. There is no lock here: the client serialises its
// own calls.
#pragma once

#include <cstdint>

#include "engine/SelfFree.h"

namespace Norvane {
// Opaque: the client's layout is the library's own business.
template <class Char>
class UsageReportingClientT;
}  // namespace Norvane
typedef Norvane::UsageReportingClientT<wchar_t> UsageReportingClient;

// The slots, as a host built by another compiler calls them: 0 Free, 1 deleting
// destructor, 2 Init, 3 SetProperty, 4 Report, 5 BeginReport, 6 EndReport.
class IUsageReportingApi : public CSelfFree {
 public:
  // Only productName is required; null salesChannel and dbPath reach the client
  // as null.
  virtual int32_t Init(const wchar_t* productName, const wchar_t* salesChannel, const wchar_t* dbPath) = 0;
  virtual int32_t SetProperty(const wchar_t* name, const wchar_t* value) = 0;
  virtual int32_t Report(const wchar_t* eventName) = 0;
  // Opens a report and puts its handle, sign-extended to 64 bits, under the
  // (narrow, int_) variable. A failed call leaves the variable as it was.
  virtual int32_t BeginReport(const wchar_t* name, const char* variable) = 0;
  // Takes the handle out of the variable, leaving 0 there, before the client
  // closes the report: ending the same variable twice ends report 0.
  virtual int32_t EndReport(const wchar_t* name, const char* variable) = 0;

 protected:
  ~IUsageReportingApi() = default;
};

class CUsageReportingApi : public IUsageReportingApi {
 public:
  CUsageReportingApi() = default;
  // Ends the client, if Init made one.
  ~CUsageReportingApi();

  int32_t Init(const wchar_t* productName, const wchar_t* salesChannel, const wchar_t* dbPath) override;
  int32_t SetProperty(const wchar_t* name, const wchar_t* value) override;
  int32_t Report(const wchar_t* eventName) override;
  int32_t BeginReport(const wchar_t* name, const char* variable) override;
  int32_t EndReport(const wchar_t* name, const char* variable) override;

  UsageReportingClient* client = nullptr;
  bool initialized = false;

  SELFFREE_DESTRUCTOR(CUsageReportingApi)

 private:
  // True when Init made a client; otherwise logs notReadyLine.
  bool Ready(const wchar_t* notReadyLine) const;
};
