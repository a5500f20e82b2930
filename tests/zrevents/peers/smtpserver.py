"""A mail server for tests, on the loopback address and any free port.

    smtpserver.py FOLDER [--tls CERTIFICATE KEY] [--login USER PASSWORD] [--answer TEXT]
                  [--silent | --dripping]

Each mail is written to FOLDER/N.mail, its envelope and the way it came to FOLDER/N.envelope.
`--answer` is what it says to each recipient; a silent server says nothing at all, and a dripping
one a byte of its greeting now and then. "port N" on standard error says that it listens; it ends
when its standard input does, or with whoever started it.
"""
import argparse
import asyncio
import itertools
import pathlib
import ssl
import sys

from aiosmtpd.smtp import SMTP, AuthResult

options = argparse.ArgumentParser()
options.add_argument("folder", type=pathlib.Path)
options.add_argument("--tls", nargs=2)
options.add_argument("--login", nargs=2)
options.add_argument("--answer")
options.add_argument("--silent", action="store_true")
options.add_argument("--dripping", action="store_true")
words = options.parse_args()
numbers = itertools.count(1)


class Handler:
    async def handle_RCPT(self, server, session, envelope, address, rcpt_options):
        if words.answer:
            return words.answer
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        name = words.folder / str(next(numbers))
        name.with_suffix(".mail").write_bytes(envelope.original_content)
        how = [envelope.mail_from, *envelope.rcpt_tos, "tls" if session.ssl else "plain",
               "login" if session.authenticated else "nobody"]
        name.with_suffix(".envelope").write_text("\n".join(how) + "\n")
        return "250 OK"


def authenticate(server, session, envelope, mechanism, data):
    given = [data.login.decode(), data.password.decode()]
    return AuthResult(success=given == words.login, handled=False)


def protocol():
    context = None
    if words.tls:
        context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        context.load_cert_chain(*words.tls)
    login = {}
    if words.login:
        login = dict(auth_required=True, authenticator=authenticate,
                     auth_require_tls=bool(words.tls))
    return SMTP(Handler(), hostname="localhost", tls_context=context,
                require_starttls=context is not None, enable_SMTPUTF8=True, **login)


async def say_little(reader, writer):
    while words.silent and await reader.read(1):
        pass
    while words.dripping:
        writer.write(b"2")
        await writer.drain()
        await asyncio.sleep(0.5)


async def main():
    if words.silent or words.dripping:
        server = await asyncio.start_server(say_little, "127.0.0.1", 0)
    else:
        server = await asyncio.get_running_loop().create_server(protocol, "127.0.0.1", 0)
    print("port", server.sockets[0].getsockname()[1], file=sys.stderr, flush=True)
    await asyncio.sleep(120)


asyncio.run(main())
