"""Runs the console host as scripts and support engineers do."""

import json
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[2] / "tools/loopback"))
import prefix  # noqa: E402
from server import Reply, Server  # noqa: E402


class Host(unittest.TestCase):
    def json(self, *arguments):
        """Returns the JSON object that a command prints. It must be the whole output."""
        result = prefix.host(*arguments, "--json")
        object = json.loads(result.stdout)
        self.assertEqual((object["exitCode"], object["ok"]), (result.returncode, result.returncode == 0))
        self.assertNotIn("zelsyshelper-host:", result.stderr)
        return object

    def test_one_object_per_command_and_options_in_any_order(self):
        file = prefix.windows_path(prefix.ROAMING / "größer.cfg")
        value = 'C:\\Media "A&B"\t音楽'
        self.json("property", "set", file, "k", value)
        self.assertEqual(self.json("property", "get", file, "k")["value"], value)
        prefix.host("property", "--enciphered", "write", file + ".fx", "--", "-h", "--json")
        read = prefix.host("property", "read", file + ".fx", "--enciphered", "--", "-h")
        self.assertEqual(read.stdout, "--json\n")
        self.assertEqual(self.json("property", "check", file, "none")["there"], False)
        self.assertEqual(self.json("property", "get", file, "none")["errorName"], "NO_KEY")
        self.assertIn("Failures", self.json("copy-dir", ".", "")["error"])  # no lines of the library
        self.assertEqual(self.json("link", "create", "x", "C:\\no\\folder\\x.lnk")["failedStep"], 25)
        self.assertEqual(self.json("os-version", "--dll", "none.dll")["exitCode"], 3)
        for arguments in (["download", "-h"], ["/?", "download", "--frob"], ["help", "download"]):
            self.assertTrue(self.json(*arguments)["help"].startswith("download URL"), arguments)
        for arguments in (
            ["nonsense"],
            ["help", "nonsense"],
            ["download", "u", "--proxy", "host:80x"],
            ["download", "u", "--proxy", "::1"],
            ["download", "u", "--folder", ""],
            ["os-version", "--x"],
            ["download", "u", "--timeout", "10x"],
            ["property", "set", file, "k", "-h"],
            ["property", "get", file, "k", "--enciphered"],
            ["switch", "on", "..\\..\\x", "s"],
        ):
            self.assertEqual(self.json(*arguments)["exitCode"], 2, arguments)
        self.assertRegex(self.json("event", "--version")["version"], r"^\d+\.\d+\.\d+$")

    def test_variants_are_drawn_by_their_weight(self):
        drawn = self.json("adv-type", "A8 B5 C2 D1", "--draws", "80000")
        expected = {"A": 40_000, "B": 25_000, "C": 10_000, "D": 5_000}
        chi_square = sum((drawn[letter] - often) ** 2 / often for letter, often in expected.items())
        self.assertLess(chi_square, 31, "3 degrees of freedom: a fair draw exceeds 31 once in a million runs")

    def test_life_cycle_of_the_update_service(self):
        install = "install", prefix.BIN / "update_service.exe"
        for arguments, expected in (
            (["start"], "SERVICE_NOT_OPENED"),
            (["install", "none.exe"], "ERROR_FILE_NOT_FOUND"),
            (install, ""),
            (install, "ERROR_SERVICE_EXISTS"),
            (["update"], ""),
            (["stop"], "SERVICE_STOP_REFUSED"),
            (["start"], ""),
            (["start"], ""),
            (["status"], "running"),
            (["stop"], ""),
            (["status"], "stopped"),
            (["start"], ""),
            (["stop-other", "Corvane.Update.Service"], ""),
            (["uninstall"], ""),
            (install, ""),
            (["uninstall"], ""),
        ):
            with self.subTest(arguments):
                result = self.json("service", *arguments)
                self.assertEqual(result.get("errorName", result.get("state", "")), expected)

    def test_failed_downloads_state_the_reason_and_show_no_full_bar(self):
        circle = Reply(302, headers={"Location": "/circle"})
        replies = {"/missing": Reply(404), "/page": Reply(404, b"page"), "/circle": circle}

        def answer(request, _handler):
            time.sleep({"/late": 3, "/silent": 15}.get(request.path, 0))
            return replies.get(request.path, Reply(body=b"file"))

        server = self.enterContext(Server(answer))
        proxy = "--proxy", f"127.0.0.1:{server.port}"
        folder = "--folder", Path(self.enterContext(tempfile.TemporaryDirectory()))
        for path, words in (
            ("/file", ""),
            ("/missing", "answered with HTTP status 404 (stage 60)"),
            ("/page", "404; the file is its error page"),
            ("/circle", "redirects in a circle"),
            ("/late", "not finished after 1 s"),
        ):
            with self.subTest(path):
                timeout = "--timeout", 1 if path == "/late" else 30
                arguments = "http://some.example" + path, *folder, *proxy, *timeout
                result = prefix.host("download", *arguments)
                if words and result.returncode == 0:  # Wine 10 returns 0 if a thread ends at the same time
                    result = prefix.host("download", *arguments)
                self.assertIn(words, result.stderr)
                self.assertEqual((result.returncode == 0, "#" in result.stdout), (words == "",) * 2, result)
        arguments = "download", "--json", "http://some.example/silent", *proxy
        command = prefix.command_of(prefix.BIN / "zelsyshelper-host.exe", *arguments)
        interrupted = "timeout --preserve-status -sINT 5".split()
        result = subprocess.run([*interrupted, *command], stdout=subprocess.PIPE, timeout=12)
        self.assertIn((json.loads(result.stdout)["exitCode"], result.returncode), ((130, 130), (130, 0)))

    def test_doctor_checks_the_proxy_and_hides_its_password(self):
        server = Server(lambda request, handler: Reply(), None)
        prefix.set_proxy(server.port, ProxyAddress="http://127.0.0.1")
        self.addCleanup(prefix.COMMON_CONFIG.unlink)
        prefix.set_log_level("7 (as support asked)")
        found = self.json("doctor")
        figures = found["logLevel"]["level"], found["proxy"]["port"], found["ok"]
        self.assertEqual(figures, (7, server.port, True))
        self.assertIn("***", found["commonConfig"]["text"])
        self.assertIn("https://statistics.quenlith.example", found["statisticsHost"]["text"])
        server.close()
        for port, address, problem in (
            (server.port, "[::1]", "does not answer"),
            (0, "x", "from 1 to 65535"),
            (80, "127.0.0.1:1", "put the port into ProxyPort"),
        ):
            prefix.set_proxy(port, ProxyAddress=address)
            self.assertRegex(str(self.json("doctor")), problem + ".*'error': 'Bad findings: ")


if __name__ == "__main__":
    unittest.main(verbosity=2)
