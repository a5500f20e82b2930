#include "tessaly/zrcommandline.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <tuple>

#include "host/user/zrrights.h"

namespace {

constexpr int kHighestPort = 65535;
constexpr const char* kFooter =
    "Exit codes: 0 done, 1 something was wrong, 2 it couldn't be tried.";
constexpr const char* kSite = "SITE";
constexpr const char* kSiteHelp = "folder of the site, with its tessaly.toml";

using Verb = ZRCommand::tagVerb;

CLI::App* AddVerb(CLI::App& app, const char* name, const char* help, ZRCommand& command,
                  Verb verb) {
  CLI::App* const sub = app.add_subcommand(name, help);
  sub->callback([&command, verb] { command.verb = verb; });
  return sub;
}

CLI::App* AddVerbOfSite(CLI::App& app, const char* name, const char* help, ZRCommand& command,
                        Verb verb) {
  CLI::App* const sub = AddVerb(app, name, help, command, verb);
  sub->add_option(kSite, command.site, kSiteHelp)->required();
  return sub;
}

void AddFormat(CLI::App& verb, ZRHistoryFormat& format) {
  static const std::map<std::string, ZRHistoryFormat> kFormats{{"table", ZRHistoryFormat::kTable},
                                                               {"csv", ZRHistoryFormat::kCsv},
                                                               {"json", ZRHistoryFormat::kJson},
                                                               {"xml", ZRHistoryFormat::kXml}};
  verb.add_option_function<std::string>(
          "--format", [&format](const std::string& name) { format = kFormats.at(name); },
          "how it is shown; a table without it")
      ->check(CLI::IsMember(&kFormats));
}

void AddHistoryOptions(CLI::App& history, ZRHistoryWords& words) {
  history.add_option("--event", words.events, "only the event of this name; may be repeated")
      ->allow_extra_args(false);
  history.add_option("--from", words.from,
                     "first instant: 2026-11-21, 2026-11-21T08:05, ...; the month's, if missing");
  history.add_option("--to", words.to, "first instant behind the period; the month's end");
  CLI::Option* const open = history.add_flag("--open", words.open, "only what hasn't ended");
  history.add_flag("--running", words.running, "also what was active when the period begins");
  history.add_flag("--totals", words.totals, "sums for each event")->excludes(open);
  AddFormat(history, words.format);
}

// True if an option or a positional of the verb itself was given.
bool HasWords(const CLI::App& verb) {
  const std::vector<const CLI::Option*> options = verb.get_options();
  return std::any_of(options.begin(), options.end(),
                     [](const CLI::Option* option) { return option->count() != 0; });
}

void AddHistory(CLI::App& app, ZRCommand& command) {
  CLI::App* const history =
      AddVerb(app, "history", "Show what has happened at a site.", command, Verb::kHistory);
  CLI::Option* const site = history->add_option(kSite, command.site, kSiteHelp);
  history->require_subcommand(0, 1);
  history->footer(std::string("A site called verify or dump is ./verify or ./dump.\n\n") + kFooter);
  AddHistoryOptions(*history, command.history);
  CLI::App* const verify =
      AddVerbOfSite(*history, "verify", "Look for damage in all of a site's data files.", command,
                    Verb::kVerifyHistory);
  CLI::App* const dump =
      AddVerb(*history, "dump", "Show each record of a data file.", command, Verb::kDumpHistory);
  dump->add_option("FILE", command.file, "the data file")->required();
  // Called behind those of verify and dump.
  history->callback([history, site, verify, dump, &command] {
    if (verify->parsed() || dump->parsed()) {
      if (HasWords(*history)) throw CLI::ExtrasError({"in front of verify or dump"});
      return;
    }
    if (site->count() == 0) throw CLI::RequiredError(kSite);
    command.verb = Verb::kHistory;
  });
}

void AddRename(CLI::App& app, ZRCommand& command) {
  CLI::App* const rename = AddVerbOfSite(
      app, "rename", "Let data files follow an event that has a new name.", command, Verb::kRename);
  rename
      ->add_option("--old", command.file,
                   "the events document before the change; the one in force is the new one")
      ->required();
  rename->add_flag("--dry-run", command.dryRun, "only say what would be done");
}

using Deed = ZRUserWords::tagDeed;

CLI::App* AddDeed(CLI::App& user, const char* name, const char* help, ZRCommand& command,
                  Deed deed) {
  CLI::App* const sub = AddVerbOfSite(user, name, help, command, Verb::kUser);
  sub->callback([&command, deed] {
    command.verb = Verb::kUser;
    command.user.deed = deed;
  });
  return sub;
}

void AddRight(CLI::App& user, const char* name, const char* help, ZRCommand& command, Deed deed) {
  CLI::App* const sub = AddVerbOfSite(user, name, help, command, Verb::kUser);
  ZRUserWords& words = command.user;
  std::vector<std::string> rights{ZRUserWords::kAdministrator};
  for (const ZRResourceKind& kind : kResourceKinds)
    rights.emplace_back(kind.word);
  sub->add_option("NAME", words.name, "the user")->required();
  sub->add_option("RIGHT", words.right, "what may be done; administrator is everything")
      ->required()
      ->check(CLI::IsMember(rights));
  sub->add_option("ON", words.resource,
                  "id or name of the group, or of the driver of a remote right; '*' is all");
  sub->add_flag("--role", words.isRole, "NAME is a role");
  sub->callback([&command, deed] {
    command.verb = Verb::kUser;
    command.user.deed = deed;
    const bool isOnAll = command.user.right == ZRUserWords::kAdministrator;
    if (isOnAll && !command.user.resource.empty())
      throw CLI::ExtrasError({"an administrator's right is on everything"});
    if (!isOnAll && command.user.resource.empty()) throw CLI::RequiredError("ON");
  });
}

void AddUser(CLI::App& app, ZRCommand& command) {
  CLI::App* const user =
      app.add_subcommand("user", "Say who may log in at a site, and what he may do.");
  user->require_subcommand(1);
  ZRUserWords& words = command.user;
  CLI::App* const add =
      AddDeed(*user, "add", "Add a user; the password is asked for.", command, Deed::kAdd);
  add->add_option("NAME", words.name, "how he logs in")->required();
  add->add_flag("--administrator", words.administrator, "he may do everything");
  AddDeed(*user, "passwd", "Give a user another password.", command, Deed::kPassword)
      ->add_option("NAME", words.name, "the user")
      ->required();
  CLI::App* const remove =
      AddDeed(*user, "remove", "Remove a user, or a role from all.", command, Deed::kRemove);
  remove->add_option("NAME", words.name, "the user")->required();
  remove->add_flag("--role", words.isRole, "NAME is a role");
  (void)AddDeed(*user, "list", "Show users, roles and rights.", command, Deed::kList);
  AddRight(*user, "grant", "Give a user or a role a right.", command, Deed::kGrant);
  AddRight(*user, "revoke", "Take a right away again.", command, Deed::kRevoke);
  for (const auto& [name, help, deed] :
       {std::tuple{"join", "Give a user a role.", Deed::kJoin},
        std::tuple{"leave", "Take a role away from a user.", Deed::kLeave}}) {
    CLI::App* const sub = AddDeed(*user, name, help, command, deed);
    sub->add_option("NAME", words.name, "the user")->required();
    sub->add_option("ROLE", words.role, "the role")->required();
  }
}

// The verbs that ask a running site.
CLI::App* AddLive(CLI::App& app, const char* name, const char* help, ZRCommand& command,
                  Verb verb) {
  CLI::App* const live = AddVerbOfSite(app, name, help, command, verb);
  live->add_option("--user", command.client.user,
                   "who asks; the password is in TESSALY_PASSWORD, or asked for");
  live->add_option("--port", command.port, "where the site listens, in place of the settings' port")
      ->check(CLI::Range(1, kHighestPort));
  live->add_option("--ca", command.client.authorities,
                   "file of the certificates to trust, in place of the site's own");
  return live;
}

void AddLiveVerbs(CLI::App& app, ZRCommand& command) {
  ZRClientWords& words = command.client;
  AddFormat(*AddLive(app, "active", "Ask a running site which events are active.", command,
                     Verb::kActive),
            words.format);
  AddFormat(*AddLive(app, "notified", "Ask a running site what has to be acknowledged.", command,
                     Verb::kNotified),
            words.format);
  AddLive(app, "ack", "Acknowledge events at a running site.", command, Verb::kAck)
      ->add_option("ID", words.ids, "as tessaly notified shows them")
      ->required();
  AddFormat(*AddLive(app, "listeners", "Ask a running site who is told of its events.", command,
                     Verb::kListeners),
            words.format);
  CLI::App* const drivers =
      AddLive(app, "drivers", "Ask a running site for its drivers and their variables.", command,
              Verb::kDrivers);
  AddFormat(*drivers, words.format);
  drivers->add_option(
      "NAME", words.driver,
      "only the driver, or the event, of this name; events aren't shown without it");
  CLI::App* const force = AddLive(app, "force", "Make a variable of a running site show a value.",
                                  command, Verb::kForce);
  force->add_option("VARIABLE", words.variable, "its full name: hall.LIMIT")->required();
  force
      ->add_option("VALUE", words.value, "a number, or a text; behind -- if it begins with a minus")
      ->required();
}

}  // namespace

ZRCommand ParseCommandLine(int count, const char* const* words) {
  ZRCommand command;
  CLI::App app("Watches live values and turns conditions on them into events.", "tessaly");
  app.set_version_flag("--version", "tessaly " ZR_VERSION);
  app.require_subcommand(1);
  app.footer(kFooter);

  AddVerbOfSite(app, "run", "Run a site until it is told to stop (SIGINT, SIGTERM).", command,
                Verb::kRun)
      ->add_option("--port", command.port, "port of the web server, in place of the settings'")
      ->check(CLI::Range(0, kHighestPort));
  AddVerbOfSite(app, "check", "Say what of a site's configuration can't be used, and why.", command,
                Verb::kCheck);
  AddVerbOfSite(app, "eval", "Evaluate an expression on a site's live values.", command,
                Verb::kEval)
      ->add_option("EXPRESSION", command.expression,
                   "for example '[meter.voltage] > 250'; behind -- if it begins with a minus")
      ->required();
  AddVerbOfSite(app, "replay",
                "Run a site's recorded readings from end to end, as fast as it goes.", command,
                Verb::kReplay);
  AddHistory(app, command);
  AddRename(app, command);
  AddVerbOfSite(app, "sysevents", "Show what has happened to the system itself.", command,
                Verb::kSystemEvents);
  AddUser(app, command);
  AddLiveVerbs(app, command);

  try {
    app.parse(count, words);
  } catch (const CLI::ParseError& end) {
    command = {};
    command.exitCode = app.exit(end) == 0 ? kExitDone : kExitImpossible;
  }
  return command;
}
