#include "host/platform/zrlargememory.h"
#include "host/platform/zrsignals.h"
#include "tessaly/zrcommandline.h"
#include "tessaly/zrcommands.h"

int main(int count, char** words) {
  GiveBackWhatIsFreed();
  ZRSignals::Keep();
  const ZRCommand command = ParseCommandLine(count, words);
  return RunCommand(command);
}
