// Faults on request, for testing the programs that use this library.
//
// USAGEREPORTING_FAULT, read once by Create, holds items separated by ';':
//   Create=<status>          Create writes its line with that status and fails with it
//   BeginReport.handle=<n>   every BeginReport succeeds and gives handle n, beginning no report
// A setting with anything else in it makes Create fail with 13, so that a typo
// never passes for a test of the fault.
#pragma once

#include <cstdint>

struct FaultMode {
  int32_t createStatus = 0;
  bool fixedHandle = false;
  int beginHandle = 0;
};

// Reads the variable into faults (none when it is unset); false when it holds
// an item it does not understand.
bool ReadFaultMode(FaultMode* faults);
