#!/usr/bin/env python3
"""Makes the page of performance out of the results of the benchmarks.

    benchmark-table.py --command TEXT RESULT.json... > docs/performance.md

Each figure is the median of its repetitions. A goal whose figures are missing is "not measured".
"""
import argparse
import datetime
import json
import os
import re
import subprocess
import sys

SHAPES = ("two", "five", "twelve")

INTRODUCTION = """\
# Performance

`scripts/benchmark` builds the optimised benchmarks, runs them, and writes this page. The text stands in
`scripts/benchmark-table.py`; every figure comes from the run that is named below. All times are processor time.

What slow clients cost the others is measured by `scripts/slow-clients`: [slow clients](slow-clients.md).
The web server under load is measured by `scripts/benchmark-web`: [the web server](web-performance.md).

## What is measured

- **An evaluation** is one `ZREvaluator::Evaluate` in a pass over many different expressions in turn, as workers make
  it. It is held against muParser, with its variables filled already, and against the same condition written as a C++
  function over the same live values. The three shapes have two, five and twelve variables.
- **A cycle** is one `ZREventDriver::Work`, in a pass of `ZREventPass` over all events, as a worker makes it once a
  second. The events are written as users write them: about 1.2 kB of XML, two variables in the condition, two delays,
  three texts, an argument, a group, 1000 variables in all. In a quiet pass no condition holds; in a failing one no
  variable has a value.
- **Loading** is `ZREventServer::LoadCfg` of such a document, from the file to the sorted store. The document of
  1,000,000 events is larger than one file may be: there the same steps are called one by one, without that limit.
- **The active service** writes every event of a store in which all are active, into memory, without compression. Its
  element is kept until a text of the event changes; the first answer after all have changed has a figure of its own.
- **A merged element** is one event of a remote engine that is put into the live list, out of a document of 10,000.
- **An acknowledgement** is one event, named in a document of the acknowledge service together with as many others as
  the table says, of a store in which all are active.
- **A complete document** tells a listener of 10,000 active events; 31 of 32 documents of one round are counted, without
  the network. With its notified occurrence each event stands in a document twice.
- **A pass with mails** is one in which 1,000 events become active and each sends a mail: the time of the worker's own
  thread. Every mail reaches a mail program that takes it at once.
- **A month** of the history is asked for as the logger service asks: files that lie in the system's cache are read,
  checked, and put together into occurrences in their order. SQLite (WAL) has the same records in one table with an
  index on the time, in the order in which they happened, and its rows become occurrences by the same objects. A scan
  reads every record of the files and makes nothing of it. The time is that of one record. A month is asked for again
  and again: files of up to 8 kB that haven't changed are looked at then, and not opened. What a process pays that
  hasn't asked before has a column of its own.
- **An append** opens the file, writes one record and closes it, as an event does; in SQLite it is one insert. Where it
  is synced the figure is the time that went by, the disk's included.
"""


def run_text(command):
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout.strip()


def cpu_model():
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        found = re.search(r"^model name\s*:\s*(.+)$", info.read(), re.MULTILINE)
    return found.group(1) if found else os.uname().machine


def memory_gigabytes():
    with open("/proc/meminfo", encoding="utf-8") as info:
        return int(re.search(r"^MemTotal:\s*(\d+)", info.read(), re.MULTILINE).group(1)) / 1e6


def commit():
    changes = run_text(["git", "status", "--porcelain", "--", "motor", "benchmarks", "cmake", "CMakeLists.txt"])
    return run_text(["git", "rev-parse", "--short", "HEAD"]) + (", with changes" if changes else "")


class Results:
    """The median of each benchmark, by its name without repetitions and iterations."""

    def __init__(self, paths):
        self.median = {}
        self.spread = {}  # standard deviation by mean, of the processor time
        self.load = 0.0  # of the machine, when the first program began
        for number, path in enumerate(paths):
            with open(path, encoding="utf-8") as file:
                content = json.load(file)
            if number == 0:
                self.load = (content["context"].get("load_avg") or [0.0])[0]
            for entry in content["benchmarks"]:
                self.take(entry)

    def take(self, entry):
        if entry.get("error_occurred"):
            sys.exit(f"{entry['name']}: {entry.get('error_message', 'failed')}")
        name = re.sub(r"/((repeats|iterations):\d+|process_time|real_time|manual_time)", "", entry["run_name"])
        kind = entry.get("aggregate_name")
        if kind == "cv":
            self.spread[name] = entry["cpu_time"]
        elif kind == "median" or (kind is None and entry.get("repetitions", 1) <= 1):
            self.median[name] = entry

    def get(self, name, field):
        return self.median.get(name, {}).get(field)

    def nanoseconds(self, name):
        scale = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
        entry = self.median.get(name)
        return None if entry is None else entry["cpu_time"] * scale[entry["time_unit"]]

    def each(self, shape, contender, count=100_000):
        seconds = self.get(f"pass/{shape}/{contender}/{count}", "each")
        return None if seconds is None else seconds * 1e9

    def went_by(self, name):
        """Nanoseconds that went by, those of the disk included."""
        scale = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
        entry = self.median.get(name)
        return None if entry is None else entry["real_time"] * scale[entry["time_unit"]]

    def record(self, shape, contender):
        """Nanoseconds of one record of a month."""
        seconds = self.get(f"month/{shape}/{contender}", "each")
        return None if seconds is None else seconds * 1e9

    def cycle(self, kind, count):
        return self.get(f"BM_{kind}/{count}", "ns_per_event")


def ratio(above, below):
    return None if above is None or below is None or below == 0 else above / below


def worst(values, choose):
    values = list(values)
    return None if not values or None in values else choose(values)


def goals(r, shapes):
    """Each goal: its text, the figure or None, how to show it, and whether the figure meets it."""
    evaluation = [(r.each(s, "ours"), r.each(s, "muparser"), r.each(s, "function")) for s in shapes]
    idle = r.cycle("QuietPass", 100_000)
    allocations = r.get("BM_QuietPass/100000", "allocations")
    million = r.cycle("QuietPass", 1_000_000)
    loads = {count: r.get(f"BM_LoadCfg/{count}", "us_per_event") for count in (100_000, 1_000_000)}
    return [
        ("An evaluation, of 100,000 expressions: at least 5 times muParser's speed",
         worst((ratio(m, o) for o, m, _ in evaluation), min), "{:.1f} times, in the worst shape", lambda v: v >= 5),
        ("The same: at most 3 times the time of a C++ function",
         worst((ratio(o, f) for o, _, f in evaluation), max), "{:.1f} times, in the worst shape", lambda v: v <= 3),
        ("Analysing an expression: at most 3 µs",
         worst((ratio(r.nanoseconds(f"analysis/{s}/ours"), 1e3) for s in shapes), max),
         "{:.2f} µs, in the worst shape", lambda v: v <= 3),
        ("An expression in memory: at most 500 bytes",
         worst((r.get(f"pass/{s}/ours/100000", "bytes") for s in shapes), max),
         "{:.0f} bytes, in the worst shape", lambda v: v <= 500),
        ("A quiet cycle, in a pass over 100,000 events: at most 80 ns", idle, "{:.0f} ns", lambda v: v <= 80),
        ("The same: no allocation", allocations, "{:.0f}", lambda v: v == 0),
        ("A quiet pass over 1,000,000 events: at most 0.3 s", ratio(million, 1e3), "{:.2f} s", lambda v: v <= 0.3),
        ("The same in 50 groups on 2 cores: at most twice the processor time",
         ratio(r.cycle("QuietPassOnTwoCores", 1_000_000), million), "{:.2f} times", lambda v: v <= 2),
        ("A pass in which every evaluation fails: at most 5 times a quiet one",
         ratio(r.cycle("FailingPass", 100_000), idle), "{:.2f} times", lambda v: v <= 5),
        ("Loading 100,000 events: at most 20 µs for each", loads[100_000], "{:.1f} µs", lambda v: v <= 20),
        ("The same: at most 5 kB for each",
         ratio(r.get("BM_LoadCfg/100000", "bytes_per_event"), 1e3), "{:.2f} kB", lambda v: v <= 5),
        ("Loading is linear to 1,000,000 events: an event takes at most half as much again as one of 100,000",
         ratio(loads[1_000_000], loads[100_000]), "{:.2f} times", lambda v: v <= 1.5),
        ("The active service, of 10,000 events: at most 300 ns for each",
         r.cycle("ActiveService", 10_000), "{:.0f} ns", lambda v: v <= 300),
    ] + service_goals(r) + history_goals(r)


ACKNOWLEDGEMENTS = ((100, 1), (1_000, 1), (1_000, 100), (10_000, 1), (10_000, 1_000))


def acknowledged(r, events, ids):
    """Events acknowledged in a second of processor time."""
    return r.get(f"BM_Acknowledge/events:{events}/ids:{ids}", "items_per_second")


def document(r, notify):
    return r.get(f"BM_CompleteDocuments/notify:{notify}", "us_per_event_and_listener")


def service_goals(r):
    return [
        ("10,000 events of a remote engine, merged into the live list: below 1 s",
         ratio(r.nanoseconds("BM_MergeFull"), 1e9), "{:.3f} s", lambda v: v < 1),
        ("Acknowledging: at least 10,000 events in a second",
         worst((acknowledged(r, *shape) for shape in ACKNOWLEDGEMENTS), min), "{:,.0f}, in the worst shape",
         lambda v: v >= 10_000),
        ("Complete documents of 10,000 events for 32 listeners: at most 2 µs for an event and listener",
         worst((document(r, notify) for notify in (0, 1)), max), "{:.2f} µs, with notified occurrences",
         lambda v: v <= 2),
        ("A pass with 1,000 mails: at most 50 ms", ratio(r.went_by("BM_MailPass"), 1e6), "{:.1f} ms",
         lambda v: v <= 50),
    ]


MONTHS = ("one event", "1,000 events", "10,000 events")


def history_goals(r):
    def by(shape):
        return ratio(r.record(shape, "sqlite"), r.record(shape, "ours"))

    def slower(value):
        return None if value is None else 1 / value

    synced = ratio(r.went_by("append synced/ours"), r.went_by("append synced/bare"))
    return [
        ("A month of one event, 1,000,000 records: at least 8 times SQLite's speed", by(MONTHS[0]), "{:.1f} times",
         lambda v: v >= 8),
        ("A month of 1,000 events, 1,000 records each: at least 2.5 times SQLite's speed", by(MONTHS[1]),
         "{:.1f} times", lambda v: v >= 2.5),
        ("A month of 10,000 events, 8 records each, asked for again: at most 1.5 times SQLite's time",
         slower(by(MONTHS[2])), "{:.1f} times", lambda v: v <= 1.5),
        ("The same, asked for the first time",
         ratio(r.record(MONTHS[2], "ours, for the first time"), r.record(MONTHS[2], "sqlite")),
         "{:.1f} times", lambda v: v <= 1.5),
        ("One hour out of 1,000,000 records: at most 2 ms", ratio(r.nanoseconds("hour/one event/ours"), 1e6),
         "{:.2f} ms", lambda v: v <= 2),
        ("Totals: at most 1.3 times the query",
         worst((ratio(r.record(m, "totals"), r.record(m, "ours")) for m in MONTHS), max),
         "{:.2f} times, in the worst month", lambda v: v <= 1.3),
        ("An append without a sync: at most 6 µs", ratio(r.nanoseconds("append/ours"), 1e3), "{:.1f} µs",
         lambda v: v <= 6),
        ("A synced append: at most 1.3 times opening, writing, syncing and closing a bare file", synced,
         "{:.2f} times", lambda v: v <= 1.3),
        ("10,000 transitions one behind the other, in adaptive durability: at most 0.3 s",
         ratio(r.went_by("pass of transitions/10,000"), 1e9), "{:.2f} s", lambda v: v <= 0.3),
    ]


def cell(value, form):
    return "" if value is None else form.format(value)


def table(heads, rows):
    lines = ["| " + " | ".join(heads) + " |", "| " + " | ".join(["---"] + ["---:"] * (len(heads) - 1)) + " |"]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines)


def goal_table(r, shapes):
    lines = ["| Goal | Measured | Met |", "| --- | --- | --- |"]
    for text, value, form, meets in goals(r, shapes):
        if value is None:
            lines.append(f"| {text} | not measured | |")
        else:
            lines.append(f"| {text} | {form.format(value)} | {'yes' if meets(value) else '**no**'} |")
    return "\n".join(lines)


def evaluation_table(r, shapes):
    rows = []
    for shape in shapes:
        for count in (1, 10_000, 100_000):
            figures = [r.each(shape, who, count) for who in ("ours", "muparser", "function", "ours_unavailable")]
            if any(figure is not None for figure in figures):
                rows.append([f"{shape}, {count:,}"] + [cell(figure, "{:.1f}") for figure in figures] +
                            [cell(r.get(f"pass/{shape}/{who}/{count}", "bytes"), "{:.0f}")
                             for who in ("ours", "muparser")])
    return table(["Shape, expressions", "ours, ns", "muParser, ns", "C++, ns", "ours without values, ns",
                  "ours, bytes", "muParser, bytes"], rows)


def analysis_table(r, shapes):
    rows = [[shape] + [cell(ratio(r.nanoseconds(f"analysis/{shape}/{who}"), 1e3), "{:.2f}")
                       for who in ("ours", "muparser")] for shape in shapes]
    return table(["Analysis of a text", "ours, µs", "muParser, µs"], rows)


def engine_table(r):
    units = {"ns_per_event": "{:.0f} ns", "us_per_event": "{:.2f} µs", "allocations": "{:.0f} allocations",
             "bytes_per_event": "{:.0f} bytes", "xml_bytes_per_event": "{:.0f} bytes of XML",
             "ns_per_changed_event": "{:.0f} ns after a change",
             "body_bytes_per_event": "{:.0f} bytes of answer"}
    rows = []
    for name, entry in r.median.items():
        subject, _, count = name.removeprefix("BM_").partition("/")
        if not name.startswith("BM_") or not count.isdigit():
            continue
        figures = ", ".join(form.format(entry[unit]) for unit, form in units.items() if unit in entry)
        rows.append([f"{subject}, {int(count):,} events", figures, cell(r.spread.get(name), "{:.1%}")])
    return table(["Engine", "for each event; allocations in all passes", "spread"], rows)


def services_table(r):
    rows = [[f"Merged element, {what}", cell(ratio(r.nanoseconds(name), 1e4 * steps * 1e3), "{:.2f} µs")]
            for what, name, steps in (("new", "BM_MergeFull", 1), ("through its life", "BM_Merge/reversed:0", 3),
                                      ("the last ending first", "BM_Merge/reversed:1", 3))]
    rows += [[f"Acknowledgement, {events:,} events, {ids:,} in a document",
              cell(ratio(1e6, acknowledged(r, events, ids)), "{:.2f} µs")] for events, ids in ACKNOWLEDGEMENTS]
    rows += [[f"Complete document, {what}, for each event", cell(document(r, notify), "{:.2f} µs")]
             for notify, what in enumerate(("active events", "active events with notified occurrences"))]
    rows.append(["Pass with 1,000 mails, with its waits", cell(r.get("BM_MailPass", "went_by_ms"), "{:.0f} ms")])
    return table(["Lists, services, actions", "each"], rows)


MONTH_COLUMNS = ("ours", "ours, for the first time", "totals", "scan", "sqlite")


def month_table(r):
    rows = [[month] + [cell(r.record(month, who), "{:.0f}") for who in MONTH_COLUMNS]
            for month in MONTHS]
    return table(["A month, for each record", "ours, ns", "for the first time, ns", "totals, ns", "scan, ns",
                  "SQLite, ns"], rows)


def append_table(r):
    rows = [["without a sync", cell(ratio(r.nanoseconds("append/ours"), 1e3), "{:.1f}"),
             cell(ratio(r.nanoseconds("append/bare"), 1e3), "{:.1f}"),
             cell(ratio(r.nanoseconds("append/sqlite, NORMAL"), 1e3), "{:.1f}")],
            ["synced, time that went by", cell(ratio(r.went_by("append synced/ours"), 1e3), "{:.0f}"),
             cell(ratio(r.went_by("append synced/bare"), 1e3), "{:.0f}"),
             cell(ratio(r.went_by("append synced/sqlite, FULL"), 1e3), "{:.0f}")]]
    return table(["An append", "ours, µs", "bare file, µs", "SQLite, µs"], rows)


def growth_table(r):
    counts = (2_000, 20_000, 200_000)
    rows = []
    for events in (1, 10, 100, 1_000, 10_000):
        figures = [r.nanoseconds(f"growth/{events}/{count}") for count in counts]
        rows.append([f"{events:,} events"] + [cell(ratio(figure, count), "{:.0f}")
                                              for figure, count in zip(figures, counts)])
    return table(["Growth, ns for each record"] + [f"{count:,} records" for count in counts], rows)


def machine_table(r, command):
    compiler = run_text(["g++", "-dumpfullversion"])
    facts = [("Processor", f"{cpu_model()}, {os.cpu_count()} cores"),
             ("Memory", f"{memory_gigabytes():.0f} GB"),
             ("System", f"Linux {os.uname().release}, g++ {compiler}, Release"),
             ("Load at the start", f"{r.load:.1f}"),
             ("Date", datetime.date.today().isoformat()),
             ("Commit", commit()),
             ("Command", "`" + command.replace("|", "\\|") + "`")]
    return "\n".join(["| | |", "| --- | --- |"] + [f"| {name} | {value} |" for name, value in facts])


def main():
    options = argparse.ArgumentParser()
    options.add_argument("--command", required=True)
    options.add_argument("results", nargs="+")
    chosen = options.parse_args()
    r = Results(chosen.results)
    shapes = sorted({name.split("/")[1] for name in r.median if name.startswith(("pass/", "analysis/"))},
                    key=lambda shape: SHAPES.index(shape) if shape in SHAPES else len(SHAPES))
    print(INTRODUCTION)
    print("## The run\n")
    print(machine_table(r, chosen.command))
    print("\n## Goals\n")
    print(goal_table(r, shapes))
    print("\n## Figures\n\nMedians. The spread is the standard deviation of the repetitions by their mean.\n")
    print("\n\n".join([evaluation_table(r, shapes), analysis_table(r, shapes), engine_table(r), services_table(r),
                       month_table(r),
                       append_table(r), growth_table(r)]))


if __name__ == "__main__":
    main()
