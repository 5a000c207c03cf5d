"""Sends events from the built library to a statistics host on loopback, through a proxy, over TLS."""

import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path
from urllib.parse import parse_qs

sys.path.insert(0, str(Path(__file__).parents[4] / "tools/loopback"))
import prefix  # noqa: E402
from certificates import Authority  # noqa: E402
from server import Reply, Server  # noqa: E402

FIELDS = (
    "guid country_id pid adv_type camp_type appid ver event_type event_number src info_type info inst_type "
    "inst_ch inst_ref test tc_build_num product_name id_zel_keys"
).split()
LOG_SETTINGS = prefix.LOGS / "Quenlith.cfg"
USERS_SETTINGS = b"; not a key\r\nOther=\nLevel=3\nLevel=9"  # event --check must restore them


class Events(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        authority = Authority(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.pem = authority.issue("statistics.quenlith.example", "country.quenlith.example")
        prefix.trust(authority)
        prefix.LOGS.mkdir(exist_ok=True)

    def setUp(self):
        self.statuses = []  # statuses of the statistics host's next replies, then 200
        self.country = Reply(body=b"DE")
        self.server = self.enterContext(Server(self.answer, self.pem))
        prefix.set_proxy(self.server.port)
        prefix.LOG.unlink(missing_ok=True)
        LOG_SETTINGS.write_bytes(USERS_SETTINGS)

    def answer(self, request, _handler):
        if request.host.startswith("country."):
            return self.country
        return Reply(self.statuses.pop(0) if self.statuses else 200, b"the\nreply")

    def send(self, *arguments, problem="", **options):
        result = prefix.host("event", "--check", *arguments, **options)
        self.assertIn(problem, result.stderr)
        self.assertEqual((result.returncode, LOG_SETTINGS.read_bytes()), (int(problem != ""), USERS_SETTINGS))

    def run_case(self, name):
        result = prefix.run(prefix.BIN / "exports_test.exe", f"--gtest_filter=Events.{name}")
        self.assertEqual(result.returncode, 0, result.stdout)

    def records(self):
        """Returns the JSON records that arrived, and checks the form of each request."""
        records = []
        for request in self.server.requests:
            if request.host.startswith("country."):
                self.assertEqual((request.method, request.path), ("POST", "/?instType=country"))
                continue
            self.assertEqual((request.method, request.path), ("POST", "/AddEventJSONString.php"))
            self.assertEqual(request.headers["Content-Type"], "application/x-www-form-urlencoded")
            self.assertTrue(request.tunnelled)
            form = parse_qs(request.body.decode("ascii"), strict_parsing=True)
            records.append(json.loads(form.pop("data")[0]))
            self.assertEqual((form, list(records[-1])), ({}, FIELDS))
        return records

    def log(self):
        """Returns the lines of the log as (level, tag, text)."""
        lines = prefix.LOG.read_text(encoding="utf-8").splitlines()
        return [(int(parts[3]), parts[4], parts[6]) for parts in (line.split(" ", 6) for line in lines)]

    def test_values_arrive_unchanged_and_are_logged(self):
        info = 'C:\\Media "A&B" 50% + größer 音楽\n'
        options = "--name n --source s --info-type t --app-id 02 --version 4.1 --adv-type a --camp-type c "
        options += "--inst-type it --inst-ref ir --inst-channel ic --guid g --build b"
        test_host = os.environ | {"SET_TEST_STAT_HOST": "1"}
        self.send(*options.split(), "--info", info, env=test_host)
        expected = dict.fromkeys(FIELDS, "")
        expected.update(guid="g", country_id="DE", adv_type="a", camp_type="c", appid="02", ver="4.1")
        expected.update(event_type="n", event_number="1", src="s", info_type="t", info=info, inst_type="it")
        expected.update(inst_ch="ic", inst_ref="ir", test="1", tc_build_num="b")
        self.assertEqual(self.records(), [expected])
        line = info.replace("\n", "\\n")
        arguments = f"Event Name: n Src: s Info: {line} App Id: 02 Version: 4.1 Adv Type: a Camp Type: c "
        arguments += "Inst Type: it Inst Ref: ir Inst Ch: ic Guid: g TC build num: b"
        begin, end = (6, "sendAppEventFull", arguments), (6, "sendAppEventFull", "<--sendAppEventFull")
        self.assertEqual(self.log(), [begin, (7, "AppEventStat", "stats::sendEvent: ok"), end])

    def test_only_error_statuses_are_retried(self):
        rejected = (3, "AppEventStat", "stats::sendEvent rejected: http 400 | the\\nreply")
        ok = (7, "AppEventStat", "stats::sendEvent: ok")
        for statuses, posts, line in (([500, 400], 2, rejected), ([400, 200], 2, ok), ([399], 1, ok)):
            with self.subTest(statuses):
                self.setUp()
                self.statuses = list(statuses)
                problem = "HTTP status 400: the" if line == rejected else ""
                self.send("--name", "n", problem=problem, env=os.environ | {"SET_TEST_STAT_HOST": "1 "})
                records = self.records()
                self.assertEqual(len(records), posts)
                self.assertEqual((records[0], records[0]["test"]), (records[-1], "0"))
                self.assertEqual(self.log()[1:], [line])

    def test_transport_failure_is_logged_by_its_code(self):
        self.server.close()
        self.send("--name", "n", problem="cannot be reached (7)")
        self.assertEqual(self.log()[1:], [(7, "AppEventStat", "stats::sendEvent: curl 7")])

    def test_interrupted_check_restores_the_level_and_keeps_other_changes(self):
        self.server.answer = lambda request, _handler: time.sleep(5)
        command = [prefix.WINE, prefix.BIN / "zelsyshelper-host.exe", "event", "--check"]
        with subprocess.Popen(command) as host, subprocess.Popen(command) as other:
            for _ in range(100):
                time.sleep(0 if len(self.server.requests) == 2 else 0.1)
            self.assertEqual(LOG_SETTINGS.read_bytes(), b"Level=7\nLevel=7\n" + USERS_SETTINGS)
            other.send_signal(signal.SIGINT)
            self.assertEqual(other.wait(10), 130)
            self.assertEqual(LOG_SETTINGS.read_bytes(), b"Level=7\n" + USERS_SETTINGS)
            prefix.host("property", "set", LOG_SETTINGS, "Other", "new")
            host.send_signal(signal.SIGINT)
            self.assertEqual((host.wait(10), LOG_SETTINGS.read_bytes()), (130, b"Level=3\nOther=new\n"))

    def test_dlls_are_loaded_from_the_system_folder_only(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        host = shutil.copy(prefix.BIN / "zelsyshelper-host.exe", folder)
        for name in "zelsyshelper.dll", "winhttp.dll":  # the latter exports no function of WinHTTP
            shutil.copy(prefix.BIN / "zelsyshelper.dll", f"{folder}/{name}")
        # By default, Wine prefers its built-in DLL to one in the program's folder.
        overrides = os.environ | {"WINEDLLOVERRIDES": os.environ["WINEDLLOVERRIDES"] + ";winhttp=n,b"}
        result = prefix.run(host, "event", "--name", "n", cwd=folder, env=overrides)
        self.assertEqual((result.returncode, len(self.records())), (0, 1), result)

    def test_country_is_looked_up_until_it_is_known(self):
        for reply, asked in ((Reply(body=b"FR"), 1), (Reply(), 40)):
            with self.subTest(reply.body):
                self.setUp()
                self.country = reply
                self.run_case("FourThreads")
                self.assertEqual(len(self.records()), 40)
                lookups = sum(r.host.startswith("country.") for r in self.server.requests)
                # Four threads start together: each may look up the country before the first reply arrives.
                self.assertTrue(asked <= lookups <= max(asked, 4), lookups)
                self.assertEqual(prefix.COMMON_CONFIG.read_text().count("FR"), 0, "kept in memory only")
        self.setUp()
        self.country = Reply(body=b"DE", headers={"Content-Length": "9"}, close_after=True)
        self.send("--name", "n")
        self.assertEqual([r["country_id"] for r in self.records()], [""], "the lookup has failed")
        self.assertEqual(len(self.server.requests), 2, "one lookup, one post")
        prefix.set_proxy(self.server.port, Location="AT")
        self.server.requests.clear()
        self.send("--name", "n")
        self.assertEqual([r["country_id"] for r in self.records()], ["AT"])
        self.assertEqual(len(self.server.requests), 1)

    def test_process_exit_sends_nothing_and_does_not_wait(self):
        self.run_case("AtProcessEnd")
        self.assertEqual([record["event_type"] for record in self.records()], ["before"])

    def test_null_arguments_and_an_unusable_log(self):
        prefix.LOG.mkdir()  # a log file that cannot be opened
        self.addCleanup(prefix.LOG.rmdir)
        self.run_case("Nulls")
        (record,) = self.records()
        values = {key: value for key, value in record.items() if value}
        self.assertEqual(values, {"country_id": "DE", "event_number": "1", "test": "0"})


if __name__ == "__main__":
    unittest.main(verbosity=2)
