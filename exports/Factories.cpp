// The exported factories, one per command class. The export name is the whole
// interface: the engine maps the script element <Name> to GetC<Name>Command.
// Each returns a new command, or null when memory runs out.
#include <new>

#include "diagnostics/LoggerCommand.h"
#include "engine/CancelCommand.h"
#include "engine/EventCommands.h"
#include "engine/ForkCommand.h"
#include "engine/JoinCommand.h"
#include "files/CopyDirCommand.h"
#include "files/CopyFileCommand.h"
#include "files/CreateDirCommand.h"
#include "files/DeleteFileCommand.h"
#include "files/RmdirCommand.h"
#include "files/ShortcutCommand.h"
#include "files/UndoMoveFileExCommand.h"
#include "files/WriteIEADSCommand.h"

#define COMMAND_FACTORY(Class) \
  extern "C" CInstallCommand* Get##Class() { return new (std::nothrow) Class(); }

COMMAND_FACTORY(CCancelCommand)
COMMAND_FACTORY(CCreateEventCommand)
COMMAND_FACTORY(CForkCommand)
COMMAND_FACTORY(CJoinCommand)
COMMAND_FACTORY(CLoggerCommand)
COMMAND_FACTORY(CSetEventCommand)
COMMAND_FACTORY(CWaitForHandleCommand)
COMMAND_FACTORY(CCopyDirCommand)
COMMAND_FACTORY(CCopyFileCommand)
COMMAND_FACTORY(CCreateDirCommand)
COMMAND_FACTORY(CDeleteFileCommand)
COMMAND_FACTORY(CRmdirCommand)
COMMAND_FACTORY(CShortcutCommand)
COMMAND_FACTORY(CUndoMoveFileExCommand)
COMMAND_FACTORY(CWriteIEADSCommand)
