"""Logs in with the digest of Python's standard library, which knows MD5 here, and keeps the answer
in the file "body".

md5login.py PORT PATH PASSWORD
"""
import sys
import urllib.request


class OnlyMd5(urllib.request.HTTPDigestAuthHandler):
    """Takes the challenge of MD5 out of several."""

    def http_error_auth_reqed(self, auth_header, host, req, headers):
        for challenge in headers.get_all(auth_header, []):
            if "algorithm=MD5" in challenge:
                return self.retry_http_digest_auth(req, challenge)
        return None


def main():
    port, path, password = sys.argv[1:]
    url = f"http://127.0.0.1:{port}"
    passwords = urllib.request.HTTPPasswordMgrWithDefaultRealm()
    passwords.add_password(None, url, "ana", password)
    opener = urllib.request.build_opener(urllib.request.ProxyHandler({}), OnlyMd5(passwords))
    with opener.open(url + path, timeout=20) as answer, open("body", "wb") as file:
        file.write(answer.read())


main()
