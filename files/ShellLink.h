// Writing one shell link (.lnk) through the system's ShellLink object.
//
// COM must be initialised on the calling thread; the writer neither initialises
// nor uninitialises it. It logs nothing of its own, except through
// AddAppUserModelId when the link asks for an application id: the caller says
// what failed, in its own words, from the step the writer reports.
#pragma once

#include <objbase.h>

// What goes into the link besides its target. A null text is not set at all.
struct ShellLinkContent {
  const wchar_t* target = nullptr;
  const wchar_t* arguments = nullptr;  // an empty text is not set either
  const wchar_t* description = nullptr;
  const wchar_t* iconPath = nullptr;   // with iconIndex
  int iconIndex = 0;
  const wchar_t* workingDirectory = nullptr;
  // With setAppUserModelId the link goes through AddAppUserModelId with
  // appUserModelId, null or not; its result does not stop the save.
  bool setAppUserModelId = false;
  const wchar_t* appUserModelId = nullptr;
};

// The step a failed write stopped at.
enum class ShellLinkStep {
  kNone,
  kCreate,          // CoCreateInstance of the ShellLink object
  kQueryInterface,  // its IPersistFile
  kSave,            // IPersistFile::Save
};

// Writes the link at linkPath, replacing an existing one of that name; the
// folder has to exist. Returns the result of the last step taken, and the step it
// failed at in *failedAt when given (kNone on success).
HRESULT WriteShellLink(const wchar_t* linkPath, const ShellLinkContent& content, ShellLinkStep* failedAt = nullptr);

// Gives link (a shell link) the application id appId through its property
// store, on systems from Windows 8 on. 0 on systems before it, after logging so;
// E_FAIL without a link or an id; otherwise the first failure of the store, or 0.
HRESULT AddAppUserModelId(IUnknown* link, const wchar_t* appId);
