#!/usr/bin/env python3
"""Asks Home Assistant's own check whether it takes the messages that a broker keeps.

    check-discovery.py DIR RUNNING ENDED

DIR is a checkout of home-assistant/core, of 2024.8 or later, or what its check imports of it. RUNNING
and ENDED are what the broker keeps while a site runs and after it: lines of a topic, a space and the
message.

What can't be imported - Home Assistant needs a hundred libraries that have no part in the check -
gets a stand-in. One that is asked for anything while a message is judged ends this with an error.
Only two that are asked have an answer: there is no running instance, and a template is compiled by
jinja2's sandbox, without the functions that Home Assistant adds.
"""
import importlib.abc
import importlib.machinery
import importlib.util
import json
import os
import sys

import jinja2.sandbox

PREFIX = "homeassistant/"
MQTT = "homeassistant.components.mqtt."
SANDBOX = jinja2.sandbox.ImmutableSandboxedEnvironment()


class Refused(Exception):
    """Home Assistant wouldn't take it, or not all of it."""


class StandIn(type):
    """A class that does for any name of a module: to be called, derived from, or used as a type."""

    judging = False

    def ask(cls, what):
        if StandIn.judging:
            sys.exit(f"The stand-in {cls.__name__} has a part in the check: it is {what}.")

    def __getattr__(cls, name):
        if name.startswith("__"):
            raise AttributeError(name)
        cls.ask(f"asked for {name}")
        return StandIn(name, (), {})

    def __call__(cls, *words, **_):
        cls.ask("called")
        return words[0] if len(words) == 1 and callable(words[0]) else StandIn(cls.__name__, (), {})

    def __getitem__(cls, _):
        return cls

    def __iter__(cls):
        cls.ask("walked")
        return iter(())

    def __instancecheck__(cls, _):
        cls.ask("compared")
        return False

    def __eq__(cls, other):
        cls.ask("compared")
        return cls is other

    __hash__ = type.__hash__

    def __bool__(cls):
        cls.ask("looked at")
        return True


class Template:
    """Holds the text of a template that can be compiled."""

    def __init__(self, text, _=None):
        self.text = text

    def ensure_valid(self):
        try:
            SANDBOX.from_string(self.text)
        except jinja2.TemplateError as error:
            from homeassistant.exceptions import TemplateError
            raise TemplateError(error) from error

    def render(self, message):
        return SANDBOX.from_string(self.text).render(value=message, value_json=json.loads(message)).strip()


ANSWERS = {
    "homeassistant.core": {"async_get_hass_or_none": lambda: None},
    "homeassistant.helpers.template": {"Template": Template, "ResultWrapper": type("ResultWrapper", (), {})},
}


class Importer(importlib.abc.MetaPathFinder, importlib.abc.Loader):
    """Imports what there is of the tree, and stand-ins for the rest that the tree asks for."""

    def __init__(self, tree):
        self.tree = tree
        self.loaders = {}
        self.stand_ins = {}  # and why

    def install(self):
        sys.path.insert(0, self.tree)
        sys.meta_path.insert(0, self)
        sys.meta_path.append(self.Rest(self))

    def find_spec(self, name, path=None, _=None):
        if name.partition(".")[0] == "homeassistant":
            spec = importlib.machinery.PathFinder.find_spec(name, path)
            if spec is not None and spec.origin is not None:  # and not just a folder
                self.loaders[name], spec.loader = spec.loader, self
            return spec or self.replace(name)
        return None

    class Rest(importlib.abc.MetaPathFinder):
        """Finds what the tree asks for and nobody has."""

        def __init__(self, importer):
            self.importer = importer

        def find_spec(self, name, _path=None, _=None):
            return self.importer.replace(name) if self.importer.is_asking() else None

    def replace(self, name):
        return importlib.util.spec_from_loader(name, self, is_package=True)

    def is_asking(self):
        frame = sys._getframe()
        while frame is not None and frame.f_code.co_filename in (__file__, "<frozen importlib._bootstrap>"):
            frame = frame.f_back
        return frame is not None and frame.f_code.co_filename.startswith(self.tree)

    def exec_module(self, module):
        name = module.__name__
        try:
            if name not in self.loaders:
                raise ImportError("isn't there")
            if name == "homeassistant.helpers.template":
                raise ImportError("needs a running instance")
            self.loaders[name].exec_module(module)
        except Exception as error:  # whatever a module does that lacks its libraries
            self.stand_ins[name] = f"{type(error).__name__}: {error}"
            module.__getattr__ = lambda what: getattr(StandIn(name, (), {}), what)
            vars(module).update(ANSWERS.get(name, {}))


def load(name, wanted, importer):
    module = importlib.import_module(name)
    if name in importer.stand_ins:
        sys.exit(f"{name} can't be imported: {importer.stand_ins[name]}")
    missing = [one for one in wanted if one not in vars(module)]
    if missing:
        sys.exit(f"{name} has no {', '.join(missing)}: it is of a release that this doesn't know")
    return module


class Judge:
    def __init__(self, importer):
        load("homeassistant.helpers.config_validation", ["string"], importer)
        load(MQTT + "schemas", ["MQTT_ENTITY_COMMON_SCHEMA"], importer)
        sensor = load(MQTT + "binary_sensor", ["DISCOVERY_SCHEMA", "vol"], importer)
        self.schema, self.invalid = sensor.DISCOVERY_SCHEMA, sensor.vol.Invalid
        self.discovery = load(MQTT + "discovery", [
            "TOPIC_MATCHER", "MQTTDiscoveryPayload", "_replace_all_abbreviations", "_replace_topic_base",
            "_valid_origin_info"], importer)
        if not all(isinstance(key.schema, str) for key in self.schema.schema):
            sys.exit("A key of the schema is a stand-in.")

    def judge(self, topic, message):
        """What Home Assistant makes of a message; as it does, step by step. Raises Refused."""
        StandIn.judging = True
        try:
            return self.take(topic, message)
        except (self.invalid, ValueError) as error:
            raise Refused(str(error)) from error
        finally:
            StandIn.judging = False

    def take(self, topic, message):
        match = self.discovery.TOPIC_MATCHER.fullmatch(topic.removeprefix(PREFIX))
        if match is None or match["component"] != "binary_sensor":
            raise Refused("the topic is none of a binary sensor's discovery")
        given = self.discovery.MQTTDiscoveryPayload(json.loads(message))
        json.dumps(given, ensure_ascii=False).encode()  # a single surrogate can't be
        self.discovery._replace_all_abbreviations(given)
        if not self.discovery._valid_origin_info(given):
            raise Refused("origin")
        if "~" in given:
            self.discovery._replace_topic_base(given)
        taken = self.schema(given)
        ignored = given.keys() - taken.keys()
        if ignored:
            raise Refused(f"it would ignore {', '.join(sorted(ignored))}")
        return taken


def read(path):
    with open(path, encoding="utf-8") as file:
        return dict(line.rstrip("\n").split(" ", 1) for line in file)


def check_all(judge, running, ended):
    """Prints a line for each message, and returns how many were taken and refused."""
    counts = [0, 0]
    for topic, message in running.items():
        if not topic.startswith(PREFIX):
            continue
        name = str(json.loads(message).get("name"))
        try:
            taken = judge.judge(topic, message)
            said = check_companions(taken, running, ended)
            counts[0] += 1
        except Refused as error:
            said = f"REFUSED: {error}"
            counts[1] += 1
        print(f"{name[:50]!r}: {said}")
    return counts


def check_companions(taken, running, ended):
    """The state and the status that belong to a sensor, read as the sensor would."""
    state = taken["value_template"].render(running.get(taken["state_topic"], "{}"))
    if state not in (taken["payload_on"], taken["payload_off"]):
        raise Refused(f"the state {state!r}")
    statuses = [kept.get(taken["availability_topic"]) for kept in (running, ended)]
    if statuses != [taken["payload_available"], taken["payload_not_available"]]:
        raise Refused(f"the statuses {statuses}")
    return f"taken, {state}"


def spoil(topic, message):
    """Messages that must be refused, each by the name of what is wrong with it."""
    def changed(**changes):
        made = json.loads(message) | changes
        return topic, json.dumps({key: value for key, value in made.items() if value is not None})
    device = json.loads(message)["device"]
    return {
        "no state_topic": changed(state_topic=None),
        "an unknown key": changed(colour="red"),
        "an unknown key of the device": changed(device=device | {"colour": "red"}),
        "a device without identifiers": changed(device={"name": device["name"]}),
        "an origin without a name": changed(origin={"sw_version": "1"}),
        "a topic with a wildcard inside": changed(state_topic="a/b+/c"),
        "a template that ends early": changed(value_template="{{ value_json.state"),
        "another topic": (topic.replace("/config", "/x/config"), message),
    }


def check_refusals(judge, topic, message):
    """True if everything that must be refused is."""
    good = True
    for wrong, (where, spoilt) in spoil(topic, message).items():
        try:
            judge.judge(where, spoilt)
            print(f"NOT refused, with {wrong}")
            good = False
        except Refused as error:
            print(f"refused, with {wrong}: {error}")
    return good


def main():
    tree = os.path.realpath(sys.argv[1])
    running, ended = read(sys.argv[2]), read(sys.argv[3])
    importer = Importer(tree)
    importer.install()
    judge = Judge(importer)
    taken, refused = check_all(judge, running, ended)
    if taken == 0:
        sys.exit("No message was taken.")
    first = next(topic for topic in running if topic.startswith(PREFIX))
    good = check_refusals(judge, first, running[first])
    version = vars(importlib.import_module("homeassistant.const")).get("__version__", "of no known version")
    print(f"Stand-ins: {', '.join(sorted(importer.stand_ins))}")
    print(f"Home Assistant {version}: {taken} taken, {refused} refused")
    sys.exit(0 if good and refused == 0 else 1)


main()
