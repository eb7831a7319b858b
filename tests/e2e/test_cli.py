"""The command line as scripts use it: exit statuses, one-line errors, settings shared between
processes, stores and settings that cannot be read, and the service's start and stop."""
import json
import re
from datetime import datetime
from urllib.parse import unquote
import os
import pathlib
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import Container, Daemon, one_error_line, require, script  # noqa: E402

MAN_PAGE = os.path.join(os.path.dirname(__file__), "..", "..", "docs", "man", "tallymo.1.scd")


class CommandLine(unittest.TestCase):
    def setUp(self):
        self.c = self.enterContext(Container(counters={"wwan0": (1000, 1000), "wlan0": (10, 10)}))

    # Which amounts are refused is in tst_datacap; here, one of them.
    def test_bad_arguments_say_one_line_and_exit_2(self):
        cases = [
            [], ["bogus"], ["sample", "extra"], ["sample", "--nope"], ["period", "--date"],
            ["period", "--date", "2026-02-30"], ["period", "--date", "22/11/2026"],
            ["period", "--plan", "NO-SUCH-PLAN"], ["defaults"], ["defaults", "write", "K"],
            ["defaults", "write", "K", "x", "--type", "int"], ["defaults", "write", "K", "nan", "--type", "double"],
            ["defaults", "write", "K", "{oops", "--type", "json"], ["defaults", "write", "K", "1", "--type", "blob"],
            ["plans", "set", "PREF_BILLDAY", "32"], ["plans", "set", "PREF_BILLTYPE", "5"],
            ["plans", "set", "PREF_ALERT1", "5"], ["plans", "set", "PREF_PLAN_ID", "X"],
            ["plans", "show", "NO-SUCH-PLAN"], ["daemon", "--interval", "0"], ["plans", "frobnicate"],
            ["alerts", "set", "2", "95"], ["alerts", "set", "1", "4"], ["alerts", "set", "5", "50"],
            ["alerts", "set", "1", "half"], ["alerts", "mute"], ["status", "--plan", "NO-SUCH-PLAN"],
            ["plans", "add-usage", "12a", "--yes"], ["plans", "reset"], ["plans", "switch", "NO-SUCH-PLAN"],
            ["plans", "remove"],
            ["export"], ["export", "--row", "4"], ["export", "--cycles", "0"], ["export", "--row", "1", "--cycles", "2"],
            ["history"], ["history", "weeks"], ["history", "cycles", "--date", "2026-01-01"],
            ["history", "hours", "--date", "2026-01-01"],
            ["map", "--day", "yesterday"], ["map", "extra"], ["net", "--plan", "NO-SUCH-PLAN"], ["watch", "now"],
            ["store", "sweep"], ["networks", "set", "Nowhere", "mobile"], ["networks", "set", "wlan0", "metered"],
            ["networks", "set", "wlan0"], ["setup"], ["setup", "--bill-day", "32", "--cap", "5GB"],
            ["setup", "--bill-day", "5", "--cap", "0"], ["daemon", "--metrics-file", "/nonexistent/t.prom"],
            ["daemon", "--metrics-file", "/"],
        ]
        for args in cases:
            with self.subTest(args=args):
                p = self.c.run(*args, check=False, stdin=subprocess.DEVNULL)  # no terminal to ask on
                self.assertEqual(p.stdout, "")
                if args:  # with none, the whole usage
                    one_error_line(self, p, status=2)
                self.assertEqual(p.returncode, 2, p.stderr)

    # The period's arithmetic is in tst_billingcycle; here, the command's answer (a date with its
    # offset, bounds on either side of a clock change).
    def test_period_json(self):
        env = dict(self.c.env, TZ="Europe/Berlin")
        self.c.run("plans", "set", "PREF_BILLDAY", "31", env=env)
        self.assertEqual(self.c.json("period", "--date", "2024-10-27T23:30+01:00", env=env), {
            "start": "2024-10-01T00:00:00+02:00", "end": "2024-10-31T00:00:00+01:00", "type": 0, "name": "Monthly"})

    def test_defaults_round_trip_with_types(self):
        for type_, value, printed in [("int", "-42", "-42"), ("bool", "yes", "true"),
                                      ("date", "2026-11-01", "2026-11-01T00:00:00+00:00"),
                                      ("json", '{"a": [1, 2.5, "x"]}', '{"a":[1,2.5,"x"]}')]:
            with self.subTest(type=type_):
                self.c.run("defaults", "write", "K_" + type_, value, "--type", type_)
                self.assertEqual(self.c.run("defaults", "read", "K_" + type_).stdout, printed + "\n")
        self.c.run("defaults", "delete", "K_int")
        p = self.c.run("defaults", "read", "K_int", check=False)
        self.assertEqual((p.returncode, p.stderr), (1, "tallymo: K_int is not set\n"))

    # What each change does to the plans is in tst_planmanagement; here, the commands and the files.
    def test_plan_changes(self):
        other = self.c.run("plans", "add", "--label", "Travel SIM").stdout.strip()
        active = self.c.json("plans", "show")["PREF_PLAN_ID"]
        p = self.c.run("plans", "remove", active, "--yes", check=False)
        self.assertEqual((p.returncode, p.stderr),
                         (2, "tallymo: the active plan cannot be deleted (switch to another plan first)\n"))
        for args, cell in [(("add-usage", "1.5GB"), 1610612736), (("reset",), 0)]:
            self.c.run("plans", *args, "--yes")
            self.assertEqual(self.c.json("status")["monthCellIn"], cell)
        self.c.run("plans", "switch", other)
        self.c.run("plans", "remove", active, "--yes")
        self.assertEqual([r["id"] for r in self.c.json("plans", "list")], [other])
        self.assertFalse(os.path.exists(os.path.join(self.c.path, active + ".sqlite")))

    def test_export_and_mail(self):
        p = self.c.run("export", "--row", "0", "-o", os.path.join(self.c.root, "none.json"), check=False)
        self.assertEqual((p.returncode, p.stderr.split(" (")[0]), (1, "tallymo: No statistics to export."))
        self.c.run("plans", "add-usage", "2MB", "--yes")
        recorder, calls, out = (os.path.join(self.c.root, n) for n in ("mailer.sh", "mailer.log", "export.json"))
        script(recorder, f"printf '%s\\n' \"$@\" >> {calls}")
        self.c.run("export", "--row", "0", "-o", out, "--mail", env=dict(self.c.env, MAILER=recorder))
        doc = json.loads(pathlib.Path(out).read_text())  # what it holds is in tst_export
        uri = unquote(pathlib.Path(calls).read_text().strip())
        stamp = doc["exportTimestamp"]
        self.assertTrue(uri.startswith("mailto:?subject=Tallymo Export " + stamp + "&attach="), uri)
        attachment = uri.split("&attach=")[1]
        self.assertTrue(attachment.endswith("/" + stamp.replace(" ", "_") + ".json"), uri)
        self.assertEqual(pathlib.Path(attachment).read_bytes(), pathlib.Path(out).read_bytes())
        # No mail program: one line, and no export is started.
        env = {k: v for k, v in self.c.env.items() if k != "MAILER"}
        env["XDG_DATA_HOME"] = env["XDG_CONFIG_HOME"] = os.path.join(self.c.root, "empty")
        p = self.c.run("export", "--row", "0", "-o", out, "--mail", env=env, check=False)
        self.assertEqual((p.returncode, p.stderr.split(" (")[0]), (1, "tallymo: Your email is not set up."))
        # No xdg-email at all: the line names the package.
        p = self.c.run("export", "--row", "0", "-o", out, "--mail", env=dict(env, PATH="/nonexistent"), check=False)
        one_error_line(self, p, "xdg-utils", status=1)

    def test_refresh_exit_status_says_whether_usage_was_recorded(self):
        for counters, status, said in [((1000, 1000), 10, "no new usage"), ((5000, 1000), 0, "new usage recorded"),
                                       ((5000, 1000), 10, "no new usage"), ((5001, 1000), 0, "new usage recorded")]:
            self.c.write_counters({"wwan0": counters, "wlan0": (10, 10)})
            p = self.c.run("refresh", check=False)
            self.assertEqual((p.returncode, p.stdout.split(";")[0]), (status, said), p.stderr)

    def test_unreadable_counters(self):
        os.remove(self.c.counters)
        p = self.c.run("sample", check=False)
        self.assertEqual(p.returncode, 1)
        self.assertIn("cannot be read", p.stderr.splitlines()[-1])

    def test_help_the_parser_and_the_manual_agree(self):
        """Every form `tallymo --help` lists is what `tallymo COMMAND --help` prints, every option in
        it is one the parser takes, and the manual has every command and option."""
        program = self.c.run("--help").stdout
        commands = sorted(set(re.findall(r"^  tallymo ([a-z]+)", program, re.M)))
        self.assertGreaterEqual(len(commands), 20)
        manual = pathlib.Path(MAN_PAGE).read_text()
        for command in commands:
            with self.subTest(command=command):
                help_ = self.c.run(command, "--help").stdout
                forms = [line.split("usage: ")[-1].strip() for line in help_.split("\n\n")[0].splitlines()]
                self.assertEqual(self.c.run(command, "-h").stdout, help_)
                for form in forms:
                    self.assertIn("  " + form + "\n", program)
                self.assertIn(f"*tallymo {command}*", manual)
                # "--plan ID" takes a value, "--json]" is a flag.
                for option, value in sorted(set(re.findall(r"(--[a-z-]+)( [a-zA-Z])?", "\n".join(forms)))):
                    self.assertIn(f"*{option}*", manual)
                    # Taken by the parser: an option with a value asks for it; after a flag, the next
                    # word is the one refused.
                    p = self.c.run(command, option, *([] if value else ["--not-an-option"]), check=False)
                    self.assertEqual(p.returncode, 2, p.stderr)
                    self.assertEqual(p.stderr, f"tallymo: option {option} needs a value\n" if value else
                                     f"tallymo: unknown option --not-an-option; usage: {forms[0]}"
                                     + "".join(" | " + f.split(" ", 2)[2] for f in forms[1:]) + "\n")

    def test_metrics_for_prometheus(self):
        require("promtool", "python:prometheus_client")
        from prometheus_client.openmetrics.parser import text_string_to_metric_families
        self.c.run("setup", "--bill-day", "1", "--cap", "2GB")
        self.c.run("plans", "add", "--label", 'Travel "EU"\\2')
        self.c.run("sample")
        self.c.write_counters({"wwan0": (1000 + 5_000_000, 1000 + 70_000), "wlan0": (10 + 9_000, 10)})
        self.c.run("sample")
        # Status and the metrics both tell the period's figures (how they are summed is in tst_usagestore
        # and tst_usagealerts).
        status, active = self.c.json("status"), self.c.json("plans", "show")["PREF_PLAN_ID"]
        families = {f.name: f for f in text_string_to_metric_families(self.c.run("metrics").stdout)}
        self.assertEqual((families["tallymo_mobile_bytes"].type, families["tallymo_mobile_bytes"].unit),
                         ("counter", "bytes"))
        expected = [("tallymo_mobile_bytes", {"direction": "received"}, 5_000_000),
                    ("tallymo_mobile_bytes", {"direction": "sent"}, 70_000),
                    ("tallymo_other_bytes", {"direction": "received"}, 9_000),
                    ("tallymo_period_used_bytes", {}, 5_070_000), ("tallymo_period_cap_bytes", {}, 2 << 30),
                    ("tallymo_period_rollover_bytes", {}, 0),
                    ("tallymo_forecast_state", {"state": status["forecast"]}, 1),
                    ("tallymo_period_end_timestamp_seconds", {},
                     datetime.fromisoformat(status["monthEndDate"]).timestamp())]
        for family, labels, want in expected:
            with self.subTest(family=family, labels=labels):
                self.assertEqual([s.value for s in families[family].samples
                                  if dict(labels, plan=active).items() <= s.labels.items()], [want])
        self.assertEqual(sorted(s.labels["label"] for s in families["tallymo_plan_active"].samples
                                if s.value == 0), ['Travel "EU"\\2'])
        text = self.c.run("metrics", "--format", "prometheus").stdout
        p = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True, text=True)
        self.assertEqual((p.returncode, p.stdout + p.stderr), (0, ""))
        self.assertIn('tallymo_mobile_bytes_total{plan="%s",direction="received"} 5000000\n' % active, text)

    # The service samples on its timer, keeps its metrics file (made anew when it has gone) and takes a
    # last sample when stopped.
    def test_the_service_keeps_its_metrics_file_and_a_last_sample(self):
        self.c.run("setup", "--bill-day", "1", "--cap", "2GB")
        path = os.path.join(self.c.root, "textfile", "tallymo.prom")  # a missing folder or a folder: in the table
        os.makedirs(os.path.dirname(path))
        with Daemon(self.c.env, interval=1, args=("--metrics-file", path)) as d:
            d.wait(lambda: os.path.exists(path), "no metrics file")
            os.remove(path)
            self.c.write_counters({"wwan0": (1000 + 4096, 1000), "wlan0": (10, 10)})
            d.wait(lambda: os.path.exists(path) and "} 4096\n" in pathlib.Path(path).read_text(), "not made anew")
            self.c.write_counters({"wwan0": (1000 + 4096 + 123456, 1000), "wlan0": (10, 10)})
        self.assertEqual(d.proc.returncode, 0, d.err)
        self.assertIn("  terminate: ", d.lines[-1])
        self.assertIn("+cell 120.6 KB", d.lines[-1])
        self.assertEqual(self.c.totals()["cellIn"], 4096 + 123456)
        self.assertEqual(d.err.count("had gone; made anew"), 1, d.err)
        self.assertEqual(os.listdir(os.path.dirname(path)), ["tallymo.prom"])  # no temporary left


if __name__ == "__main__":
    unittest.main(verbosity=2)
