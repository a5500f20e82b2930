#include "tessaly/zrcommands.h"

#include <cstdio>

namespace {

int CarryOut(const ZRCommand& command) {
  switch (command.verb) {
    case ZRCommand::tagVerb::kRun:
      return RunSite(command);
    case ZRCommand::tagVerb::kCheck:
      return CheckSite(command);
    case ZRCommand::tagVerb::kEval:
      return EvaluateOnSite(command);
    case ZRCommand::tagVerb::kReplay:
      return ReplaySite(command);
    case ZRCommand::tagVerb::kHistory:
      return ShowHistory(command);
    case ZRCommand::tagVerb::kVerifyHistory:
      return VerifyHistory(command);
    case ZRCommand::tagVerb::kDumpHistory:
      return DumpHistory(command);
    case ZRCommand::tagVerb::kRename:
      return RenameHistory(command);
    case ZRCommand::tagVerb::kSystemEvents:
      return ShowSystemEvents(command);
    case ZRCommand::tagVerb::kUser:
      return ManageUsers(command);
    case ZRCommand::tagVerb::kActive:
      return ShowActive(command);
    case ZRCommand::tagVerb::kNotified:
      return ShowNotified(command);
    case ZRCommand::tagVerb::kAck:
      return AcknowledgeEvents(command);
    case ZRCommand::tagVerb::kListeners:
      return ShowListeners(command);
    case ZRCommand::tagVerb::kDrivers:
      return ShowDrivers(command);
    case ZRCommand::tagVerb::kForce:
      return ForceVariable(command);
    case ZRCommand::tagVerb::kNone:
      break;
  }
  return command.exitCode;
}

}  // namespace

int RunCommand(const ZRCommand& command) {
  const int exitCode = CarryOut(command);
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return exitCode;
  std::fputs("tessaly: standard output can't be written\n", stderr);
  return exitCode == kExitDone ? kExitFaulty : exitCode;
}
