#include "diagnostics/LocalizationManagerCommand.h"

#include <cstdlib>
#include <new>

#include "diagnostics/FileResourceManager.h"
#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"

namespace {
const wchar_t kTag[] = L"LocalizationManager";
}

CLocalizationManagerCommand::~CLocalizationManagerCommand() {
  free(localeFolder);
  localeFolder = nullptr;
}

int32_t CLocalizationManagerCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return static_cast<int32_t>(reader.ReadCopy(L"localeFolder", &localeFolder));
}

int32_t CLocalizationManagerCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  if (!EnterGuard(kTag)) return kStatusBusy;
  LogBegin(kTag);
  if (localeFolder != nullptr) {
    wchar_t* expanded = nullptr;
    if (ExpandVariables(localeFolder, &expanded) && expanded != nullptr) {
      free(localeFolder);
      localeFolder = expanded;
    }
  }
  LogMessage(L"%i: %s Locale Folder: '%s'.\n", index, kTag, localeFolder);

  SelfFreeRelease(StoreGetObject<CSelfFree>("SelfFree_ResourceManager"));
  CFileResourceManager* manager = new (std::nothrow) CFileResourceManager();
  if (manager != nullptr) manager->LoadFolder(localeFolder);
  // The old manager is gone either way; an absent one is what every reader
  // expects when memory ran out.
  StorePutObject("SelfFree_ResourceManager", manager);
  return FinishExecute(kTag, kStatusOk);
}
