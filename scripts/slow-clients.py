#!/usr/bin/env python3
"""Holds a running site against slow clients, and tells what the others notice.

    slow-clients.py PROGRAM [--clients 1000] [--seconds 20] [--page docs/slow-clients.md]

Each kind of slow client has its turn, then all kinds at once. They come from many addresses of the
loopback, so that the limit for one address doesn't keep them out, and come again when they are cut
off. Meanwhile a client in a process of its own asks for the counts, on a new connection each time.
"""
import argparse
import asyncio
import datetime
import http.client
import math
import multiprocessing
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

EVENTS = 1500  # so that an answer is larger than what the system keeps of it
PER_ADDRESS = 25
PATIENCE_S = 12  # a little longer than the server's
PROBE = "127.0.0.2"  # the address of those who aren't slow
GOAL_MS = 300
GOAL_STOP_S = 2
COUNTS = "/services/events/counts.xml"
GROUP = "bbbbbbbb-0000-4000-8000-000000000001"

HEAD = b"GET " + COUNTS.encode() + b" HTTP/1.1\r\nHost: localhost\r\nX: "
BODY = (b"PUT /services/events/ack.xml HTTP/1.1\r\nHost: localhost\r\nContent-Length: 60000\r\n\r\n")
READ = b"GET /services/events/actived.xml HTTP/1.1\r\nHost: localhost\r\n\r\n"


def make_site(folder):
    os.makedirs(os.path.join(folder, "config"))
    with open(os.path.join(folder, "tessaly.toml"), "w", encoding="utf-8") as file:
        file.write('http.port = 0\n')
    events = "".join(
        f"<event><id>aaaaaaaa-0000-4000-8000-{number:012d}</id><name>Slow {number}</name>"
        f"<description>{'what happened, and where ' * 8}</description>"
        f"<condition>1 = 1</condition><groups><group>{GROUP}</group></groups></event>\n"
        for number in range(EVENTS))
    with open(os.path.join(folder, "config", "default.xeve"), "w", encoding="utf-8") as file:
        file.write(f"<main><groups><group><id>{GROUP}</id><name>All</name></group></groups>"
                   f"<events>{events}</events></main>")


class Site:
    """The program at work."""

    def __init__(self, program, folder):
        self.log = open(os.path.join(folder, "log"), "w+", encoding="utf-8")
        self.process = subprocess.Popen([program, "run", folder], stderr=self.log)
        self.port = self.wait_for_port()

    def wait_for_port(self):
        for _ in range(600):
            self.log.seek(0)
            found = re.search(r"http://127\.0\.0\.1:(\d+)/\S+ shows what is active", self.log.read())
            if found:
                return int(found.group(1))
            if self.process.poll() is not None:
                break
            time.sleep(0.1)
        sys.exit("the site doesn't start; see " + self.log.name)

    def memory(self):
        """The most and the present memory, in MiB."""
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as file:
            status = file.read()
        return [int(re.search(name + r":\s+(\d+) kB", status).group(1)) / 1024
                for name in ("VmHWM", "VmRSS")]

    def stop(self):
        """Ends it; the time until the web server has closed an idle connection, its last work."""
        with socket.create_connection(("127.0.0.1", self.port)) as idle:
            idle.settimeout(60)
            idle.sendall(b"GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n")
            idle.recv(4096)
            start = time.monotonic()
            self.process.send_signal(signal.SIGTERM)
            try:
                while idle.recv(4096):
                    pass
            except ConnectionResetError:
                pass
            taken = time.monotonic() - start
        self.process.wait(timeout=60)
        return taken


def probe(port, end, results):
    """Asks until `end` is set; the times in ms, and how many got no good answer."""
    times, failures = [], 0
    while not end.is_set():
        start = time.perf_counter()
        try:
            connection = http.client.HTTPConnection("127.0.0.1", port, timeout=30,
                                                    source_address=(PROBE, 0))
            connection.request("GET", COUNTS)
            answer = connection.getresponse()
            answer.read()
            failures += answer.status != 200
            connection.close()
        except OSError:
            failures += 1
        times.append((time.perf_counter() - start) * 1000)
        time.sleep(0.005)
    results.put((times, failures))


class Slow:
    """One slow client, again and again."""

    returns = 0

    def __init__(self, port, kind, number):
        self.port, self.kind = port, kind
        self.source = f"127.0.{1 + number // PER_ADDRESS // 250}.{1 + number // PER_ADDRESS % 250}"

    async def run(self):
        while True:
            try:
                await self.connect_and_be_slow()
            except OSError:
                pass
            Slow.returns += 1
            await asyncio.sleep(0.2)

    async def connect_and_be_slow(self):
        loop = asyncio.get_running_loop()
        with socket.socket() as connection:
            connection.setblocking(False)
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            connection.bind((self.source, 0))
            await loop.sock_connect(connection, ("127.0.0.1", self.port))
            await loop.sock_sendall(connection, self.kind)
            for _ in range(PATIENCE_S):
                await asyncio.sleep(1)
                if self.kind is READ:
                    if not await loop.sock_recv(connection, 16):
                        return
                else:
                    await loop.sock_sendall(connection, b"x")


async def attack(port, kinds, clients, seconds):
    tasks = [asyncio.create_task(Slow(port, kinds[number % len(kinds)], number).run())
             for number in range(clients)]
    await asyncio.sleep(seconds)
    for task in tasks:
        task.cancel()
    await asyncio.gather(*tasks, return_exceptions=True)


def percentile(times, share):
    ordered = sorted(times)
    return ordered[min(len(ordered) - 1, math.ceil(share * len(ordered)) - 1)]


def row(name, clients, times, failures, returns, memory, stop):
    return (f"| {name} | {clients} | {len(times)} | {failures} | {percentile(times, 0.5):.1f} | "
            f"{percentile(times, 0.99):.1f} | {max(times):.1f} | {returns} | {memory[0]:.0f} | {stop:.1f} |")


def turn(program, name, kinds, clients, seconds):
    """A site, its slow clients, and its end among them. The row of the table, and what it says."""
    with tempfile.TemporaryDirectory() as folder:
        make_site(folder)
        site = Site(program, folder)
        end, results = multiprocessing.Event(), multiprocessing.Queue()
        client = multiprocessing.Process(target=probe, args=(site.port, end, results))
        Slow.returns = 0
        stopped = []

        async def all_of_it():
            attackers = asyncio.create_task(attack(site.port, kinds, clients, seconds + 90))
            await asyncio.sleep(2)  # until they are there
            client.start()
            await asyncio.sleep(seconds)
            end.set()
            found = await asyncio.to_thread(results.get)
            memory = site.memory()
            returns = Slow.returns
            stopped.append(await asyncio.to_thread(site.stop))
            attackers.cancel()
            await asyncio.gather(attackers, return_exceptions=True)
            return found, memory, returns

        (times, failures), memory, returns = asyncio.run(all_of_it())
        client.join()
        site.log.close()
        return (row(name, clients, times, failures, returns, memory, stopped[0]), failures,
                percentile(times, 0.99), stopped[0], memory[0], site.process.returncode)


def slowhttptest(program, seconds):
    """What a tool that nobody here wrote says of the service meanwhile."""
    if shutil.which("slowhttptest") is None:
        return ["`slowhttptest` isn't installed: not measured."]
    lines = [
        "`slowhttptest` opens its connections from one address, its own looks at the service included. So it meets the",
        "limit for one address, and says that the service isn't available there; others don't notice.", "",
        "| slowhttptest, 1000 connections | Available, by its own looks | Others' requests | Without an answer "
        "| 99th percentile, ms |", "| --- | ---: | ---: | ---: | ---: |"]
    with tempfile.TemporaryDirectory() as folder:
        make_site(folder)
        site = Site(program, folder)
        url = f"http://127.0.0.1:{site.port}"
        for option, path in (("-H", COUNTS), ("-B", "/services/events/ack.xml"),
                             ("-X", "/services/events/actived.xml")):
            end, results = multiprocessing.Event(), multiprocessing.Queue()
            client = multiprocessing.Process(target=probe, args=(site.port, end, results))
            client.start()
            said = subprocess.run(
                ["slowhttptest", option, "-c", "1000", "-r", "200", "-i", "1", "-p", "3", "-l",
                 str(seconds), "-u", url + path], capture_output=True, text=True, check=False).stdout
            end.set()
            times, failures = results.get()
            client.join()
            plain = re.sub(r"\x1b\[[0-9;]*[A-Za-z]", "", said)
            states = re.findall(r"service available:\s+(\w+)", plain)
            lines.append(f"| `{option}` | {states.count('YES')} of {len(states)} | {len(times)} | {failures} | "
                         f"{percentile(times, 0.99):.1f} |")
        site.stop()
        site.log.close()
    return lines


def page(arguments, rows, facts, tool):
    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], capture_output=True, text=True,
                            check=False).stdout.strip()
    worst, stop, memory = (max(fact[index] for fact in facts) for index in (1, 2, 3))
    met = lambda good: "yes" if good else "**no**"
    return f"""# Slow clients

`scripts/slow-clients` runs a site among clients that take their time, and writes this page. The
[limits](wire/limits.md) are those in force. The slow clients come from many addresses of the loopback, {PER_ADDRESS} from
each, and come again when they are cut off, or after {PATIENCE_S} s. Each sends, or takes, some bytes in a second: of the
head of a request, of the body of an acknowledgement, of the answer with {EVENTS} active events. Meanwhile another process
asks for the counts, on a new connection each time, 5 ms after each answer; it, the slow clients and the site share the
processors. Then the site is stopped among them; the time is that of its web server, which ends first.

| | |
| --- | --- |
| Date | {datetime.date.today().isoformat()} |
| Commit | {commit} |
| Processors | {os.cpu_count()}, load at the end {os.getloadavg()[0]:.1f} |
| Turn | {arguments.seconds} s |

| Slow clients | Number | Others' requests | Without an answer | Median, ms | 99th percentile, ms | Longest, ms | Came again | Memory, MiB | Stop, s |
| --- | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: | ---: |
""" + "\n".join(rows) + f"""

| Goal | Measured | Met |
| --- | --- | --- |
| 99 of 100 others are answered within {GOAL_MS} ms | {worst:.1f} ms, in the worst turn | {met(worst < GOAL_MS)} |
| The web server stops in less than {GOAL_STOP_S} s | {stop:.1f} s, in the worst turn | {met(stop < GOAL_STOP_S)} |
| Memory is bounded: 424 MiB for the web server | {memory:.0f} MiB for the whole process, in the worst turn | {met(memory < 424)} |

""" + "\n".join(tool) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--clients", type=int, default=1000)
    parser.add_argument("--seconds", type=int, default=20)
    parser.add_argument("--page", default="docs/slow-clients.md")
    arguments = parser.parse_args()
    turns = (("none", [HEAD], 0), ("slow heads", [HEAD], arguments.clients),
             ("slow bodies", [BODY], arguments.clients), ("slow readers", [READ], arguments.clients),
             ("a third of each", [HEAD, BODY, READ], arguments.clients))
    rows, facts = [], []
    for name, kinds, clients in turns:
        line, *fact = turn(arguments.program, name, kinds, clients, arguments.seconds)
        print(line, flush=True)
        rows.append(line)
        facts.append(fact)
    tool = slowhttptest(arguments.program, arguments.seconds)
    print("\n".join(tool))
    with open(arguments.page, "w", encoding="utf-8") as file:
        file.write(page(arguments, rows, facts, tool))
    if any(fact[0] or fact[4] for fact in facts):
        sys.exit("somebody got no answer, or the site didn't end well")


main()
