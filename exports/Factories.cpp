// The exported factories, one per command class. The export name is the whole
// interface: the engine maps the script element <Name> to GetC<Name>Command.
// Each returns a new command, or null when memory runs out.
#include <new>

#include "diagnostics/LocalizationManagerCommand.h"
#include "diagnostics/LoggerCommand.h"
#include "diagnostics/MultiLanguageCommand.h"
#include "engine/CancelCommand.h"
#include "engine/EventCommands.h"
#include "engine/ForkCommand.h"
#include "engine/JoinCommand.h"
#include "frontend/CommandLineParserCommand.h"
#include "frontend/ConsoleCommand.h"
#include "frontend/MessageBox.h"
#include "frontend/ProgressCommands.h"
#include "frontend/RunAsUserCommand.h"
#include "frontend/VltInstallCommand.h"
#include "frontend/WelcomeInterfaceCommand.h"
#include "probes/GuardCommands.h"
#include "reporting/UsageReportingCommands.h"
#include "registry/RegCreateKeyCommand.h"
#include "registry/RegDeleteKeyCommand.h"
#include "registry/RegDeleteValueCommand.h"
#include "registry/RegGetValueCommand.h"
#include "registry/RegKeyExistsCommand.h"
#include "registry/RegSetValueCommand.h"
#include "registry/VltRegSetLicenseCommand.h"
#include "services/ServiceCommands.h"
#include "files/CopyDirCommand.h"
#include "files/CopyFileCommand.h"
#include "files/CreateDirCommand.h"
#include "files/DeleteFileCommand.h"
#include "files/RmdirCommand.h"
#include "files/ShortcutCommand.h"
#include "files/UndoMoveFileExCommand.h"
#include "files/WriteIEADSCommand.h"
#include "files/UnrarCommand.h"

#define COMMAND_FACTORY(Class) \
  extern "C" CInstallCommand* Get##Class() { return new (std::nothrow) Class(); }

COMMAND_FACTORY(CArchitectureCheckCommand)
COMMAND_FACTORY(CCancelCommand)
COMMAND_FACTORY(CCreateEventCommand)
COMMAND_FACTORY(CForceSingleInstanceCommand)
COMMAND_FACTORY(CForkCommand)
COMMAND_FACTORY(CJoinCommand)
COMMAND_FACTORY(CLoggerCommand)
COMMAND_FACTORY(CSetEventCommand)
COMMAND_FACTORY(CVltCommandLineParserCommand)
COMMAND_FACTORY(CVltConsoleCommand)
COMMAND_FACTORY(CVltInstallCommand)
COMMAND_FACTORY(CVltMessageBoxCommand)
COMMAND_FACTORY(CVltSetErrorCommand)
COMMAND_FACTORY(CVltUpdateProgressCommand)
COMMAND_FACTORY(CVltWelcomeInterfaceCommand)
COMMAND_FACTORY(CUnrarCommand)
COMMAND_FACTORY(CWaitForHandleCommand)
COMMAND_FACTORY(CRegCreateKeyCommand)
COMMAND_FACTORY(CRegDeleteKeyCommand)
COMMAND_FACTORY(CRegDeleteValueCommand)
COMMAND_FACTORY(CRegGetValueCommand)
COMMAND_FACTORY(CRegKeyExistsCommand)
COMMAND_FACTORY(CRegSetValueCommand)
COMMAND_FACTORY(CVltRegSetLicenseCommand)
COMMAND_FACTORY(CCreateServiceCommand)
COMMAND_FACTORY(CStartServiceCommand)
COMMAND_FACTORY(CStopServiceCommand)
COMMAND_FACTORY(CUninstallServiceCommand)
COMMAND_FACTORY(CCopyDirCommand)
COMMAND_FACTORY(CCopyFileCommand)
COMMAND_FACTORY(CCreateDirCommand)
COMMAND_FACTORY(CDeleteFileCommand)
COMMAND_FACTORY(CRmdirCommand)
COMMAND_FACTORY(CShortcutCommand)
COMMAND_FACTORY(CUndoMoveFileExCommand)
COMMAND_FACTORY(CWriteIEADSCommand)
COMMAND_FACTORY(CLocalizationManagerCommand)
COMMAND_FACTORY(CMultiLanguageCommand)
COMMAND_FACTORY(CUsageReportingInitCommand)
COMMAND_FACTORY(CUsageReportingSetPropertyCommand)
COMMAND_FACTORY(CUsageReportingReportCommand)
COMMAND_FACTORY(CUsageReportingBeginReportCommand)
COMMAND_FACTORY(CUsageReportingEndReportCommand)
COMMAND_FACTORY(CVltRunAsUserCommand)
