#!/usr/bin/env python3
"""A simulator of the voxaria provider API for tests and the demo.

Speaks real HTTP (or HTTPS) on loopback: the XML-RPC endpoint /RPC2 with the methods
zentari.SessionInitiate, zentari.SessionStatusGet, zentari.OwnUriListGet and
zentari.BalanceGet, and the JSON token endpoint /v1/authorization/token, both behind HTTP
Basic authorization against the configured accounts.

The first line printed is the base URL ("http://127.0.0.1:PORT"); the XML-RPC endpoint is
that plus "/RPC2". A control endpoint under /_control (JSON, no authorization) lets tests
switch faults, finish sessions and read the record of every request:

  GET  /_control/requests            every request seen, oldest first
  GET  /_control/redirect-requests   requests that reached the redirect target
  GET  /_control/sessions            the sessions and their states
  POST /_control/faults              {"zentari.BalanceGet": "http500", ...}; null clears
  POST /_control/outcomes            {"486": 486, ...}: numbers ending in a key fail with it
  POST /_control/finish              moves every open session to its final state
  POST /_control/reset               forgets requests and sessions, clears faults
  POST /_control/status-options      {"omit_status_code": true, "adopt_unknown": true}

Fault kinds: http401, http500, fault:<code>, empty, truncated, garbage, trickle, noanswer,
close, redirect, huge (a 200 answer of --huge-bytes streamed until the connection closes,
without a length), huge-declared (the same with its Content-Length announced), and
body:<text> (a 200 answer with exactly that body). A request answered with trickle or a huge
body records "answer_complete" (false when the client broke off) and "answer_bytes_sent".

Sessions move queued -> sending -> sent (or failed) one step per status query (--advance
poll, the default), one step every N seconds (--advance SECONDS), or stay queued until
/_control/finish (--advance hold).

The simulator exits when its parent process goes away, so no test can leave it running.

Only the Python 3 standard library is used (and the openssl command to make a certificate
for --https when none is given).
"""

import argparse
import base64
import ctypes
import hashlib
import http.server
import json
import os
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import uuid
import xmlrpc.client

SIP_DOMAIN = "sip.voxaria.net"
MAX_BODY = 64 * 1024 * 1024
FAULT_KINDS = {"http401", "http500", "empty", "truncated", "garbage", "trickle", "noanswer",
               "close", "redirect", "huge", "huge-declared"}
CHUNK = 1024 * 1024
METHODS = ("zentari.SessionInitiate", "zentari.SessionStatusGet", "zentari.OwnUriListGet",
           "zentari.BalanceGet", "token")


class Account:
    def __init__(self, text):
        user, _, password = text.partition(":")
        if not user:
            raise ValueError("an account is USER:PASSWORD")
        self.user = user
        self.password = password
        self.fax_line = True


class State:
    """Everything the handlers share; guarded by one lock."""

    def __init__(self, args):
        self.lock = threading.Lock()
        self.accounts = {a.user: a for a in (Account(s) for s in args.account)}
        for user in args.no_fax_line:
            if user in self.accounts:
                self.accounts[user].fax_line = False
        self.faults = {}
        for item in args.fault:
            method, _, kind = item.partition("=")
            self.set_fault(method, kind)
        self.outcomes = {}
        for item in args.outcome:
            suffix, _, code = item.partition("=")
            self.outcomes[suffix] = int(code)
        self.advance = args.advance
        self.trickle_seconds = args.trickle_seconds
        self.huge_bytes = args.huge_bytes
        self.balance = args.balance
        self.currency = args.currency
        self.requests = []
        self.redirect_requests = []
        self.sessions = {}
        self.redirect_url = None
        # Status answers without "StatusCode", as a provider in trouble might send them.
        self.omit_status_code = False
        # Status questions for sessions this run never started (a journal from an earlier run)
        # are answered as if the session had just been started.
        self.adopt_unknown = args.adopt_unknown_sessions

    def set_fault(self, method, kind):
        if method not in METHODS:
            raise ValueError("unknown method %r" % method)
        if kind in (None, "", "none"):
            self.faults.pop(method, None)
            return
        if kind not in FAULT_KINDS and not kind.startswith(("fault:", "body:")):
            raise ValueError("unknown fault %r" % kind)
        if kind.startswith("fault:"):
            int(kind[6:])
        self.faults[method] = kind

    def outcome_for(self, number):
        best = None
        for suffix, code in self.outcomes.items():
            if number.endswith(suffix) and (best is None or len(suffix) > len(best[0])):
                best = (suffix, code)
        return best[1] if best else None


STEPS = ("queued", "sending")


class Session:
    def __init__(self, number, fail_code):
        self.id = uuid.uuid4().hex
        self.number = number
        self.fail_code = fail_code
        self.step = 0  # 0 queued, 1 sending, 2 final
        self.created = time.monotonic()
        self.polls = 0

    def final_status(self):
        return "failed" if self.fail_code else "sent"

    def status(self, advance):
        if advance == "poll":
            answer = self.step
            self.step = min(self.step + 1, 2)
        elif advance == "hold":
            answer = self.step
        else:
            elapsed = time.monotonic() - self.created
            self.step = max(self.step, min(2, int(elapsed / float(advance))))
            answer = self.step
        self.polls += 1
        if answer < 2:
            return {"SessionStatus": STEPS[answer], "StatusCode": 200, "StatusString": "Method success"}
        if self.fail_code:
            return {"SessionStatus": "failed", "StatusCode": self.fail_code,
                    "StatusString": "Transmission failed"}
        return {"SessionStatus": "sent", "StatusCode": 200, "StatusString": "Method success"}

    def describe(self):
        state = STEPS[self.step] if self.step < 2 else self.final_status()
        return {"SessionID": self.id, "number": self.number, "state": state,
                "fail_code": self.fail_code, "polls": self.polls}


def own_uri_list(account):
    lines = [{"UriAlias": "Office", "SipUri": "2000001e0@" + SIP_DOMAIN,
              "E164Out": "4921155500100", "E164In": ["4921155500100"], "TOS": ["voice"],
              "DefaultUri": True}]
    if account.fax_line:
        lines.append({"UriAlias": "Fax", "SipUri": "2000001f0@" + SIP_DOMAIN,
                      "E164Out": "4921155500199", "E164In": ["4921155500199"], "TOS": ["fax"],
                      "DefaultUri": False})
        lines.append({"UriAlias": "Fax 2", "SipUri": "2000001f1@" + SIP_DOMAIN,
                      "E164Out": "4930555000777", "E164In": ["4930555000777"], "TOS": ["fax"],
                      "DefaultUri": False})
    return {"OwnUriList": lines, "StatusCode": 200, "StatusString": "Method success"}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "voxaria-sim/1.0"

    def log_message(self, fmt, *args):  # quiet: tests read the record instead
        if os.environ.get("PROVIDER_SIM_VERBOSE"):
            sys.stderr.write("provider-sim: " + (fmt % args) + "\n")

    @property
    def state(self):
        return self.server.state

    # --- plumbing -----------------------------------------------------------------------

    def read_body(self):
        try:
            length = int(self.headers.get("Content-Length", "0"))
        except ValueError:
            length = -1
        if length < 0 or length > MAX_BODY:
            self.send_plain(413, b"request too large\n")
            return None
        return self.rfile.read(length) if length else b""

    def send_plain(self, status, body, content_type="text/plain", extra=()):
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(len(body)))
        for name, value in extra:
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body)

    def send_json(self, status, value):
        self.send_plain(status, json.dumps(value).encode(), "application/json")

    def authorized_account(self):
        header = self.headers.get("Authorization", "")
        if not header.startswith("Basic "):
            return None
        try:
            user, _, password = base64.b64decode(header[6:], validate=True).decode("utf-8").partition(":")
        except (ValueError, UnicodeDecodeError):
            return None
        account = self.state.accounts.get(user)
        return account if account and account.password == password else None

    def record(self, method, params, extra=None):
        entry = {"method": method, "path": self.path,
                 "headers": {k: v for k, v in self.headers.items()},
                 "params": params, "time": time.time()}
        if extra:
            entry.update(extra)
        with self.state.lock:
            self.state.requests.append(entry)
        self.entry = entry
        return entry

    def note_answer(self, sent, complete):
        entry = getattr(self, "entry", None)
        if entry is not None:
            with self.state.lock:
                entry["answer_bytes_sent"] = sent
                entry["answer_complete"] = complete

    def stream(self, chunks):
        """Writes the chunks; returns how many bytes went out and whether all of them did."""
        sent = 0
        try:
            for chunk in chunks:
                self.wfile.write(chunk)
                self.wfile.flush()
                sent += len(chunk)
        except OSError:
            self.close_connection = True
            return sent, False
        return sent, True

    def huge_chunks(self, total):
        head = (b"<?xml version='1.0'?><methodResponse><params><param><value><string>")
        yield head
        left = total - len(head)
        filler = b"A" * CHUNK
        while left > 0:
            yield filler[: min(left, CHUNK)]
            left -= CHUNK

    # --- faults -------------------------------------------------------------------------

    def apply_fault(self, method, good_body):
        """Answers with the fault switched on for a method; False when there is none."""
        with self.state.lock:
            kind = self.state.faults.get(method)
            trickle = self.state.trickle_seconds
            redirect = self.state.redirect_url
            huge = self.state.huge_bytes
        if not kind:
            return False
        if kind == "http401":
            self.send_plain(401, b"Unauthorized\n", extra=[("WWW-Authenticate", 'Basic realm="voxaria"')])
        elif kind == "http500":
            self.send_plain(500, b"Internal Server Error\n")
        elif kind.startswith("fault:"):
            body = xmlrpc.client.dumps(xmlrpc.client.Fault(int(kind[6:]), "Simulated fault"),
                                       methodresponse=True).encode()
            self.send_plain(200, body, "text/xml")
        elif kind == "empty":
            self.send_plain(200, b"", "text/xml")
        elif kind == "truncated":
            self.send_plain(200, good_body[: len(good_body) // 2], "text/xml")
        elif kind == "garbage":
            self.send_plain(200, b"\x00\xffPHP Warning: something broke\n" + good_body, "text/xml")
        elif kind == "trickle":
            self.send_response(200)
            self.send_header("Content-Type", "text/xml")
            self.send_header("Content-Length", str(len(good_body)))
            self.end_headers()

            def bytes_slowly():
                for byte in good_body:
                    yield bytes([byte])
                    time.sleep(trickle)

            self.note_answer(*self.stream(bytes_slowly()))
        elif kind in ("huge", "huge-declared"):
            self.send_response(200)
            self.send_header("Content-Type", "text/xml")
            if kind == "huge-declared":
                self.send_header("Content-Length", str(huge))
            else:
                self.send_header("Connection", "close")
            self.end_headers()
            self.close_connection = True
            self.note_answer(*self.stream(self.huge_chunks(huge)))
        elif kind.startswith("body:"):
            content_type = "application/json" if method == "token" else "text/xml"
            self.send_plain(200, kind[5:].encode("utf-8"), content_type)
        elif kind == "noanswer":
            # Hold the connection open, answering nothing, until the client gives up.
            try:
                self.connection.settimeout(1.0)
                while True:
                    try:
                        if not self.connection.recv(1):
                            break
                    except socket.timeout:
                        continue
            except OSError:
                pass
            self.close_connection = True
        elif kind == "close":
            self.close_connection = True
            try:
                self.connection.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        elif kind == "redirect":
            self.send_plain(307, b"", extra=[("Location", redirect + self.path)])
        return True

    # --- endpoints ----------------------------------------------------------------------

    def do_GET(self):
        if self.path.startswith("/_control/"):
            return self.control("GET")
        self.send_plain(405, b"POST only\n")

    def do_POST(self):
        if self.path.startswith("/_control/"):
            return self.control("POST")
        if self.path == "/RPC2":
            return self.xmlrpc()
        if self.path == "/v1/authorization/token":
            return self.token()
        self.read_body()
        self.send_plain(404, b"not found\n")

    def token(self):
        body = self.read_body()
        if body is None:
            return
        try:
            credentials = json.loads(body.decode("utf-8"))
        except (ValueError, UnicodeDecodeError):
            credentials = None
        self.record("token", {"username": (credentials or {}).get("username")
                              if isinstance(credentials, dict) else None})
        good = json.dumps({"token": "sim-" + uuid.uuid4().hex}).encode()
        if self.apply_fault("token", good):
            return
        account = None
        if isinstance(credentials, dict):
            account = self.state.accounts.get(credentials.get("username"))
            if account and account.password != credentials.get("password"):
                account = None
        if not account:
            self.send_plain(401, b"Unauthorized\n")
            return
        self.send_plain(200, good, "application/json")

    def xmlrpc(self):
        body = self.read_body()
        if body is None:
            return
        try:
            params, method = xmlrpc.client.loads(body, use_builtin_types=True)
        except Exception as error:  # a broken request is recorded, answered, and survived
            self.record(None, None, {"parse_error": str(error), "body_size": len(body)})
            self.send_plain(400, b"malformed XML-RPC request\n")
            return
        extra = {}
        if method == "zentari.SessionInitiate" and params and isinstance(params[0], dict):
            content = params[0].get("Content", "")
            try:
                pdf = base64.b64decode(content, validate=True) if isinstance(content, str) else b""
                extra = {"pdf_size": len(pdf), "pdf_sha256": hashlib.sha256(pdf).hexdigest(),
                         "pdf_base64": base64.b64encode(pdf).decode()}
            except ValueError:
                extra = {"pdf_error": "Content is not base64"}
            params = [dict(params[0], Content="<%d base64 characters>" % len(content))]
            extra["member_order"] = list(params[0].keys())
        self.record(method, list(params), extra)

        account = self.authorized_account()
        answer = self.answer(method, params, account) if account else None
        good = xmlrpc.client.dumps((answer,), methodresponse=True).encode() if answer else b""
        if self.apply_fault(method, good or b"<?xml version='1.0'?><methodResponse/>"):
            return
        if not account:
            self.send_plain(401, b"Unauthorized\n", extra=[("WWW-Authenticate", 'Basic realm="voxaria"')])
            return
        if isinstance(answer, xmlrpc.client.Fault):
            body = xmlrpc.client.dumps(answer, methodresponse=True).encode()
            self.send_plain(200, body, "text/xml")
            return
        self.send_plain(200, good, "text/xml")

    def answer(self, method, params, account):
        state = self.state
        arg = params[0] if params and isinstance(params[0], dict) else {}
        if method == "zentari.SessionInitiate":
            remote = arg.get("RemoteUri", "")
            if not (isinstance(remote, str) and remote.startswith("sip:") and "@" in remote):
                return xmlrpc.client.Fault(407, "Invalid parameter value: RemoteUri")
            number = remote[4:].split("@", 1)[0]
            with state.lock:
                session = Session(number, state.outcome_for(number))
                state.sessions[session.id] = session
            return {"SessionID": session.id, "StatusCode": 200, "StatusString": "Method success"}
        if method == "zentari.SessionStatusGet":
            with state.lock:
                session_id = arg.get("SessionID")
                session = state.sessions.get(session_id)
                if not session and state.adopt_unknown and isinstance(session_id, str) and session_id:
                    session = Session("", None)
                    session.id = session_id
                    state.sessions[session_id] = session
                if not session:
                    return xmlrpc.client.Fault(404, "Unknown SessionID")
                answer = session.status(state.advance)
                if state.omit_status_code:
                    answer.pop("StatusCode", None)
                return answer
        if method == "zentari.OwnUriListGet":
            return own_uri_list(account)
        if method == "zentari.BalanceGet":
            return {"CurrentBalance": {"TotalIncludingVat": state.balance, "Currency": state.currency},
                    "StatusCode": 200, "StatusString": "Method success"}
        return xmlrpc.client.Fault(405, "Unknown method")

    def control(self, verb):
        state = self.state
        body = self.read_body() if verb == "POST" else b""
        if body is None:
            return
        try:
            value = json.loads(body.decode("utf-8")) if body else {}
        except (ValueError, UnicodeDecodeError):
            return self.send_json(400, {"error": "body is not JSON"})
        path = self.path[len("/_control/"):]
        try:
            with state.lock:
                if verb == "GET" and path == "requests":
                    return self.send_json(200, state.requests)
                if verb == "GET" and path == "redirect-requests":
                    return self.send_json(200, state.redirect_requests)
                if verb == "GET" and path == "sessions":
                    return self.send_json(200, [s.describe() for s in state.sessions.values()])
                if verb == "POST" and path == "faults":
                    for method, kind in value.items():
                        state.set_fault(method, kind)
                    return self.send_json(200, state.faults)
                if verb == "POST" and path == "outcomes":
                    state.outcomes.update({str(k): int(v) for k, v in value.items()})
                    return self.send_json(200, state.outcomes)
                if verb == "POST" and path == "finish":
                    for session in state.sessions.values():
                        session.step = 2
                    return self.send_json(200, {"finished": len(state.sessions)})
                if verb == "POST" and path == "advance":
                    state.advance = str(value.get("advance", "poll"))
                    return self.send_json(200, {"advance": state.advance})
                if verb == "POST" and path == "status-options":
                    state.omit_status_code = bool(value.get("omit_status_code", state.omit_status_code))
                    state.adopt_unknown = bool(value.get("adopt_unknown", state.adopt_unknown))
                    return self.send_json(200, {"omit_status_code": state.omit_status_code,
                                                "adopt_unknown": state.adopt_unknown})
                if verb == "POST" and path == "reset":
                    state.requests.clear()
                    state.redirect_requests.clear()
                    state.sessions.clear()
                    state.faults.clear()
                    return self.send_json(200, {})
        except (ValueError, TypeError, AttributeError) as error:
            return self.send_json(400, {"error": str(error)})
        self.send_json(404, {"error": "unknown control " + path})


class RedirectTargetHandler(Handler):
    """The other port a redirect points to: it records what arrives and answers 200."""

    def do_POST(self):
        body = self.read_body() or b""
        with self.state.lock:
            self.state.redirect_requests.append(
                {"path": self.path, "headers": {k: v for k, v in self.headers.items()},
                 "body_size": len(body)})
        self.send_plain(200, b"", "text/xml")

    do_GET = do_POST


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True
    allow_reuse_address = True

    def __init__(self, address, handler, state):
        super().__init__(address, handler)
        self.state = state

    def handle_error(self, request, client_address):
        # Clients that break off (failed TLS handshakes, aborted reads) are expected here.
        if os.environ.get("PROVIDER_SIM_VERBOSE"):
            super().handle_error(request, client_address)


def make_certificate(folder):
    cert = os.path.join(folder, "cert.pem")
    key = os.path.join(folder, "key.pem")
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
                    "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1,DNS:localhost",
                    "-keyout", key, "-out", cert], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    return cert, key


def watch_parent(parent):
    # The kernel tells us when the parent dies (PR_SET_PDEATHSIG); polling covers the race
    # where it died before that was set up.
    try:
        ctypes.CDLL(None, use_errno=True).prctl(1, signal.SIGTERM)
    except (OSError, AttributeError):
        pass
    while True:
        if os.getppid() != parent:
            os._exit(0)
        time.sleep(0.5)


def main():
    parser = argparse.ArgumentParser(description="voxaria provider API simulator")
    parser.add_argument("--port", type=int, default=0, help="port on 127.0.0.1 (default: any free)")
    parser.add_argument("--https", action="store_true", help="serve HTTPS")
    parser.add_argument("--cert", help="PEM certificate for --https (default: made at start)")
    parser.add_argument("--key", help="PEM key for --cert")
    parser.add_argument("--cert-out", help="write the certificate in use to this file")
    parser.add_argument("--account", action="append", default=[], help="USER:PASSWORD (repeatable)")
    parser.add_argument("--no-fax-line", action="append", default=[], metavar="USER",
                        help="this account has only a voice line")
    parser.add_argument("--fault", action="append", default=[], metavar="METHOD=KIND")
    parser.add_argument("--outcome", action="append", default=[], metavar="SUFFIX=CODE",
                        help="numbers ending in SUFFIX fail with StatusCode CODE")
    parser.add_argument("--advance", default="poll", help="poll | hold | SECONDS per step")
    parser.add_argument("--adopt-unknown-sessions", action="store_true",
                        help="answer status questions for sessions this run never started")
    parser.add_argument("--trickle-seconds", type=float, default=2.0)
    parser.add_argument("--huge-bytes", type=int, default=40 * 1024 * 1024,
                        help="size of the huge answers")
    parser.add_argument("--balance", type=float, default=23.42)
    parser.add_argument("--currency", default="EUR")
    args = parser.parse_args()
    if not args.account:
        args.account = ["demo:demo-password"]

    threading.Thread(target=watch_parent, args=(os.getppid(),), daemon=True).start()
    signal.signal(signal.SIGTERM, lambda *_: os._exit(0))

    try:
        state = State(args)
    except ValueError as error:
        parser.error(str(error))

    server = Server(("127.0.0.1", args.port), Handler, state)
    redirect = Server(("127.0.0.1", 0), RedirectTargetHandler, state)
    scheme = "http"
    if args.https:
        folder = tempfile.mkdtemp(prefix="provider-sim-")
        cert, key = (args.cert, args.key) if args.cert else make_certificate(folder)
        context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        context.load_cert_chain(cert, key)
        # The handshake runs in the handler's thread, so a client that never completes it
        # blocks nobody else.
        server.socket = context.wrap_socket(server.socket, server_side=True,
                                            do_handshake_on_connect=False)
        if args.cert_out:
            with open(cert, "rb") as src, open(args.cert_out, "wb") as dst:
                dst.write(src.read())
        scheme = "https"
    state.redirect_url = "http://127.0.0.1:%d" % redirect.server_address[1]
    threading.Thread(target=redirect.serve_forever, daemon=True).start()

    print("%s://127.0.0.1:%d" % (scheme, server.server_address[1]), flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()
