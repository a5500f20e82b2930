#include "tessaly/zrcommands.h"

int RunCommand(const ZRCommand& command) {
  switch (command.verb) {
    case ZRCommand::tagVerb::kRun:
      return RunSite(command);
    case ZRCommand::tagVerb::kCheck:
      return CheckSite(command);
    case ZRCommand::tagVerb::kEval:
      return EvaluateOnSite(command);
    case ZRCommand::tagVerb::kReplay:
      return ReplaySite(command);
    case ZRCommand::tagVerb::kNone:
      break;
  }
  return command.exitCode;
}
