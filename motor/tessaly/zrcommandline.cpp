#include "tessaly/zrcommandline.h"

#include <CLI/CLI.hpp>

namespace {

constexpr int kHighestPort = 65535;

CLI::App* AddVerb(CLI::App& app, const char* name, const char* help, ZRCommand& command,
                  ZRCommand::tagVerb verb) {
  CLI::App* const sub = app.add_subcommand(name, help);
  sub->add_option("SITE", command.site, "folder of the site, with its tessaly.toml")->required();
  sub->callback([&command, verb] { command.verb = verb; });
  return sub;
}

}  // namespace

ZRCommand ParseCommandLine(int count, const char* const* words) {
  ZRCommand command;
  CLI::App app("Watches live values and turns conditions on them into events.", "tessaly");
  app.set_version_flag("--version", "tessaly " ZR_VERSION);
  app.require_subcommand(1);
  app.footer("Exit codes: 0 done, 1 something was wrong, 2 it couldn't be tried.");

  CLI::App* const run =
      AddVerb(app, "run", "Run a site until it is told to stop (SIGINT, SIGTERM).", command,
              ZRCommand::tagVerb::kRun);
  run->add_option("--port", command.port, "port of the web server, in place of the settings'")
      ->check(CLI::Range(0, kHighestPort));
  AddVerb(app, "check", "Say what of a site's configuration can't be used, and why.", command,
          ZRCommand::tagVerb::kCheck);
  AddVerb(app, "eval", "Evaluate an expression on a site's live values.", command,
          ZRCommand::tagVerb::kEval)
      ->add_option("EXPRESSION", command.expression,
                   "for example '[meter.voltage] > 250'; behind -- if it begins with a minus")
      ->required();
  AddVerb(app, "replay", "Run a site's recorded readings from end to end, as fast as it goes.",
          command, ZRCommand::tagVerb::kReplay);

  try {
    app.parse(count, words);
  } catch (const CLI::ParseError& end) {
    command = {};
    command.exitCode = app.exit(end) == 0 ? kExitDone : kExitImpossible;
  }
  return command;
}
