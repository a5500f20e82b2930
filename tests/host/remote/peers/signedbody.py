"""Puts bodies whose digest is signed (RFC 7616, qop auth-int, SHA-256), and prints the statuses.

signedbody.py PORT USER PASSWORD PATH BODY

Three requests: the body as it was signed, the very same request again, and another body with a
signature of the first.
"""
import hashlib
import http.client
import re
import sys


def h(text):
    return hashlib.sha256(text.encode()).hexdigest()


def put(connection, path, body, headers):
    connection.request("PUT", path, body, headers)
    answer = connection.getresponse()
    answer.read()
    return answer


def signature(challenge, count, user, password, path, body):
    values = dict(re.findall(r'(\w+)="?([^",]*)"?', challenge))
    key = h(f"{user}:{values['realm']}:{password}")
    asked = h(f"PUT:{path}:{h(body)}")
    nc = f"{count:08x}"
    response = h(f"{key}:{values['nonce']}:{nc}:0a4f113b:auth-int:{asked}")
    return {"Authorization":
            f'Digest username="{user}", realm="{values["realm"]}", nonce="{values["nonce"]}", '
            f'uri="{path}", algorithm=SHA-256, qop=auth-int, nc={nc}, cnonce="0a4f113b", '
            f'response="{response}"'}


def main():
    port, user, password, path, body = sys.argv[1:]
    connection = http.client.HTTPConnection("127.0.0.1", int(port), timeout=20)
    challenge = put(connection, path, "", {}).getheader("WWW-Authenticate").split(", Digest")[0]
    first = signature(challenge, 1, user, password, path, body)
    second = signature(challenge, 2, user, password, path, body)
    statuses = [put(connection, path, sent, signed).status
                for sent, signed in ((body, first), (body, first), (body + "!", second))]
    with open("statuses", "w", encoding="ascii") as file:
        file.write(" ".join(str(status) for status in statuses))


main()
