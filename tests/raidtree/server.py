#!/usr/bin/env python3
"""server.py RAIDTREE [REQUESTS]: raidtree serve as its clients meet it, well-meaning and others."""

import http.client
import json
import os
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

GOLDEN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../golden")
RAIDTREE = sys.argv[1]
REQUESTS = int(sys.argv[2]) if len(sys.argv) > 2 else 2000
PATIENCE = 30


def golden(name):
    with open(os.path.join(GOLDEN, name + ".xml"), encoding="utf-8") as stream:
        return stream.read()


class Serve(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.tree = os.path.join(self.folder.name, "tree.xml")
        self.write(golden("ssd-cache"))
        self.process = subprocess.Popen([RAIDTREE, "serve", "--no-log", "--listen", "127.0.0.1:0", self.tree],
                                        stdout=subprocess.PIPE, text=True, env=os.environ | {
                                            # What the sanitizer keeps for itself is no growth.
                                            "ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"})
        self.port = int(self.process.stdout.readline().strip().rstrip("/").rsplit(":", 1)[1])
        self.open_sockets = []
        self.has_ended = False

    def tearDown(self):
        if not self.has_ended:
            self.assertIsNone(self.process.poll(), "it is alive whatever came")
            self.process.send_signal(signal.SIGTERM)
            self.assertEqual(self.process.wait(PATIENCE), 0)
        self.process.stdout.close()
        for client in self.open_sockets:
            client.close()
        self.folder.cleanup()

    def write(self, text):
        with open(self.tree, "w", encoding="utf-8") as stream:
            stream.write(text)

    def connect(self):
        client = socket.create_connection(("127.0.0.1", self.port), PATIENCE)
        self.open_sockets.append(client)
        return client

    def ask(self, path, method="GET", **headers):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)
        connection.request(method, path, headers={k.replace("_", "-"): v for k, v in headers.items()})
        response = connection.getresponse()
        body = response.read()
        connection.close()
        return response, body

    def raw(self, request):
        """All that comes until the server closes."""
        client = self.connect()
        try:
            client.sendall(request)
            answer = b""
            while part := client.recv(65536):
                answer += part
        except ConnectionError:
            pass
        return answer

    def wait_for_status(self, status):
        end = time.monotonic() + PATIENCE
        while self.ask("/server.json")[0].status != status:
            self.assertLess(time.monotonic(), end)
            time.sleep(0.02)

    def rss(self):
        with open(f"/proc/{self.process.pid}/status", encoding="utf-8") as stream:
            return next(int(line.split()[1]) for line in stream if line.startswith("VmRSS"))

    def test_documents_have_etags_and_head_is_get_without_a_body(self):
        for path in ("/", "/server.json", "/tree.xml", "/metrics", "/live.js", "/redfish", "/redfish/v1", "/redfish/v1/",
                     "/redfish/v1/$metadata", "/redfish/v1/Systems/server/Storage/0/Drives/5?$select=Name"):
            response, body = self.ask(path)
            if response.status == 404:
                self.fail(path)
            etag = response.getheader("ETag")
            self.assertTrue(body and etag, path)
            head, nothing = self.ask(path, "HEAD")
            self.assertEqual((head.status, nothing, head.getheader("ETag")), (200, b"", etag))
            self.assertEqual(head.getheader("Content-Length"), str(len(body)))
            again, nothing = self.ask(path, If_None_Match=f'"other", W/{etag}')
            self.assertEqual((again.status, nothing), (304, b""))
        self.assertEqual(self.ask("/tree.xml")[1].decode(), golden("ssd-cache"))

    def test_what_is_not_there_and_what_may_not_be(self):
        for method in ("POST", "PUT", "PATCH", "DELETE", "OPTIONS"):
            response, body = self.ask("/redfish/v1/Systems", method)
            self.assertEqual((response.status, response.getheader("Allow")), (405, "GET, HEAD"), method)
            self.assertIn("OperationNotAllowed", json.loads(body)["error"]["code"])
        for path in ("/redfish/v1/Systems/other", "/redfish/v1/../../etc/passwd", "/redfish/v1/%3Cb%3E%00%ff"):
            response, body = self.ask(path)
            self.assertEqual(response.status, 404, path)
            self.assertIn("ResourceMissingAtURI", json.loads(body)["error"]["code"])
        self.assertEqual(self.ask("/etc/passwd")[0].status, 404)

    def test_it_follows_the_file(self):
        os.remove(self.tree)
        self.wait_for_status(503)
        for path in ("/", "/tree.xml", "/metrics", "/redfish/v1/Systems"):
            response, body = self.ask(path)
            self.assertEqual((response.status, bool(body)), (503, True), path)
        self.write(golden("rich"))
        self.wait_for_status(200)
        self.assertEqual(json.loads(self.ask("/server.json")[1])["name"], "bench-05")

    def test_several_requests_in_one_piece(self):
        one = b"GET /server.json HTTP/1.1\r\nHost: x\r\n\r\n"
        answer = self.raw(one * 3 + one.replace(b"\r\n\r\n", b"\r\nConnection: close\r\n\r\n"))
        self.assertEqual(answer.count(b"HTTP/1.1 200 OK"), 4)

    def test_requests_that_are_none(self):
        for request in (b"\r\n\r\n", b"\0" * 100 + b"\r\n\r\n", b"GET\r\n\r\n", b"GET / HTTP/9.9\r\n\r\n",
                        b"GET " + b"/x" * 5000 + b" HTTP/1.1\r\n\r\n",
                        b"POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\nGET /", b"\x16\x03\x01" + os.urandom(200) + b"\r\n\r\n"):
            answer = self.raw(request)
            self.assertTrue(answer == b"" or answer.startswith(b"HTTP/1.1 4"), (request[:40], answer[:100]))
        self.assertEqual(self.raw(b"GET / HTTP/1.1\r\n" + b"a: b\r\n" * 100000)[:12], b"HTTP/1.1 431")
        for cut in (b"G", b"GET / HTTP/1.1\r\nHost:"):
            self.connect().sendall(cut)
        many = self.raw(b"GET /tree.xml HTTP/1.1\r\nRange: bytes=" + b"0-," * 4000 + b"0-\r\nConnection: close\r\n\r\n")
        self.assertLess(len(many), 100000)
        self.assertEqual(self.ask("/")[0].status, 200)

    def test_clients_that_are_slow_hold_nobody_up(self):
        for number in range(300):
            client = self.connect()
            if number % 3:
                client.sendall(b"GET / HTTP/1.1\r\nX: " if number % 3 == 1 else b"GET /tree.xml HTTP/1.1\r\n\r\n" * 40)
        for _ in range(20):
            started = time.monotonic()
            self.assertEqual(self.ask("/server.json")[0].status, 200)
            self.assertLess(time.monotonic() - started, 5)

    def test_many_requests_cost_no_memory(self):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)
        paths = ("/server.json", "/", "/metrics", "/redfish/v1/Systems/server/Storage", "/nothing")
        before = 0
        for number in range(REQUESTS):
            connection.request("GET", paths[number % len(paths)])
            connection.getresponse().read()
            if number == REQUESTS // 2:
                before = self.rss()
        connection.close()
        self.assertLess(self.rss() - before, 4096)

    def test_it_ends_under_load(self):
        def load():
            try:
                while True:
                    self.ask("/tree.xml")
            except (OSError, http.client.HTTPException):
                pass
        threads = [threading.Thread(target=load) for _ in range(8)]
        for thread in threads:
            thread.start()
        time.sleep(0.1)
        self.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.process.wait(PATIENCE), 0)
        for thread in threads:
            thread.join()
        self.has_ended = True


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
