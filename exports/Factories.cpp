// The exported factories, one per command class. The export name is the whole
// interface: the engine maps the script element <Name> to GetC<Name>Command.
// Each returns a new command, or null when memory runs out.
#include <new>

#include "engine/CancelCommand.h"
#include "engine/EventCommands.h"
#include "engine/ForkCommand.h"
#include "engine/JoinCommand.h"
#include "files/UnrarCommand.h"

#define COMMAND_FACTORY(Class) \
  extern "C" CInstallCommand* Get##Class() { return new (std::nothrow) Class(); }

COMMAND_FACTORY(CCancelCommand)
COMMAND_FACTORY(CCreateEventCommand)
COMMAND_FACTORY(CForkCommand)
COMMAND_FACTORY(CJoinCommand)
COMMAND_FACTORY(CSetEventCommand)
COMMAND_FACTORY(CUnrarCommand)
COMMAND_FACTORY(CWaitForHandleCommand)
