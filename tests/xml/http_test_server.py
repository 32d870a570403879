#!/usr/bin/env python3
"""Loopback HTTP server for the document stream tests: serves the files of one directory on
127.0.0.1 plus a few paths that misbehave on purpose. Prints its port, a port on which
nothing listens and its process id, then serves until it is terminated."""
import functools, http.server, os, socket, sys, threading, time


class Handler(http.server.SimpleHTTPRequestHandler):
    closed_port = 0

    def log_message(self, *args):
        pass

    def do_GET(self):
        path = self.path.partition("?")[0]
        kind, _, number = path[1:].partition("/")
        if path == "/headers":
            self.send_body(("path=%s\ncache-control=%s\npragma=%s\n" % (
                path, self.headers.get("Cache-Control", ""), self.headers.get("Pragma", ""))).encode())
        elif path == "/stall":
            time.sleep(60)  # holds the connection without ever answering
        elif path == "/loop":
            self.redirect("/loop")
        elif kind == "hop":
            self.redirect("/hop/%d" % (int(number) - 1)) if int(number) > 0 else self.send_body(b"arrived")
        elif path == "/to-ftp":
            self.redirect("ftp://127.0.0.1:%d/arm.xml" % Handler.closed_port)
        elif kind in ("bytes", "sized"):
            # Without a length the body ends when the connection closes.
            self.send_body(b"x" * int(number), announce_length=kind == "sized")
        else:
            super().do_GET()

    def redirect(self, location):
        self.send_response(302)
        self.send_header("Location", location)
        self.send_header("Content-Length", "0")
        self.end_headers()

    def send_body(self, body, announce_length=True):
        self.send_response(200)
        if announce_length:
            self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)


closed = socket.socket()  # bound but never listening: connections to it are refused
closed.bind(("127.0.0.1", 0))
Handler.closed_port = closed.getsockname()[1]
server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Handler, directory=sys.argv[1]))
server.daemon_threads = True


def exit_with_parent(parent):
    # A test that crashes never terminates the server; without this it would outlive the
    # test and keep the test runner's output pipe open.
    while os.getppid() == parent:
        time.sleep(0.2)
    os._exit(0)


threading.Thread(target=exit_with_parent, args=(os.getppid(),), daemon=True).start()
print(server.server_address[1], Handler.closed_port, os.getpid(), flush=True)
server.serve_forever()
