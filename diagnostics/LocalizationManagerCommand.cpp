#include "diagnostics/LocalizationManagerCommand.h"

#include <new>

#include "diagnostics/FileResourceManager.h"
#include "engine/Expand.h"
#include "engine/Log.h"
#include "engine/Store.h"
#include "engine/StoreNames.h"

int32_t CLocalizationManagerCommand::Load(IXMLDOMNamedNodeMap* attributes) {
  LoadCommon(attributes);
  AttributeReader reader(attributes);
  return static_cast<int32_t>(reader.ReadCopy(L"localeFolder", localeFolder));
}

int32_t CLocalizationManagerCommand::Execute(HANDLE, CRITICAL_SECTION*) {
  ExecuteFrame frame(*this, kFrame);
  if (!frame.Entered()) return frame.Busy();
  // A folder that cannot be expanded is used as it stands.
  ExpandField(localeFolder, OnFailure::KeepText);
  LogMessage(diagtext::kLocaleFolder, index, kTag, localeFolder.Get());

  SelfFreeRelease(StoreGetObject<CSelfFree>(storename::kResourceManager));
  CFileResourceManager* manager = new (std::nothrow) CFileResourceManager();
  if (manager != nullptr) manager->LoadFolder(localeFolder.Get());
  // The old manager is gone either way; an absent one is what every reader
  // expects when memory ran out.
  StorePutObject(storename::kResourceManager, manager);
  return frame.Done();
}
