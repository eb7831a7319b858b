"""Shell completion as a user gets it: the bash script in a real bash (after bash-completion's own
script, where it is installed) and the fish script in a real fish, beside the real tallymo; the zsh
script is parsed. (The fish script's parse is the fish run itself.)"""
import os
import pathlib
import re
import shlex
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(__file__))
from support import require  # noqa: E402
require("bash", "zsh", "fish")
from support import TALLYMO, Container  # noqa: E402

COMPLETIONS = os.path.join(os.path.dirname(__file__), "..", "..", "data", "completions")
BASH_COMPLETION = "/usr/share/bash-completion/bash_completion"


def bash_complete(env, lines):
    """The `complete -p tallymo` line, what bash offers for each command line (its last word is the
    one completed) through the function that line names, and what bash said on stderr."""
    script = [f"[ -f {BASH_COMPLETION} ] && . {BASH_COMPLETION}",
              f". {shlex.quote(os.path.join(COMPLETIONS, 'tallymo.bash'))}",
              "line=$(complete -p tallymo); echo \"$line\"; fn=${line#*-F }; fn=${fn%% *}"]
    for words in lines:
        script.append(f"COMP_WORDS=({' '.join(map(shlex.quote, words))}); COMP_CWORD={len(words) - 1}; "
                      "COMP_LINE=\"${COMP_WORDS[*]}\"; COMP_POINT=${#COMP_LINE}; COMPREPLY=(); "
                      "$fn tallymo \"${COMP_WORDS[COMP_CWORD]}\" \"${COMP_WORDS[COMP_CWORD-1]}\"; "
                      "printf '%s\\x1f' \"${COMPREPLY[@]}\"; echo")
    p = subprocess.run(["bash", "--norc", "--noprofile", "-c", "\n".join(script)], env=env,
                       capture_output=True, text=True, timeout=60)
    out = p.stdout.split("\n")
    return out[0], [sorted(filter(None, line.split("\x1f"))) for line in out[1:len(lines) + 1]], p.stderr


def fish_complete(env, lines):
    """What fish offers for each command line (without the descriptions)."""
    script = [f"source {shlex.quote(os.path.join(COMPLETIONS, 'tallymo.fish'))}"]
    for words in lines:
        line = shlex.quote(" ".join(words))
        script.append(f"printf '%s\\x1f' (complete -C {line} | string replace -r '\\t.*' ''); echo")
    p = subprocess.run(["fish", "--no-config", "-c", "\n".join(script)], env=env, capture_output=True,
                       text=True, timeout=60)
    return [sorted(filter(None, line.split("\x1f"))) for line in p.stdout.split("\n")[:len(lines)]], p.stderr


class Completions(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.c = c = Container(counters={"wwan0": (1000, 1000), "wlan0": (10, 10)})
        c.run("setup", "--bill-day", "1", "--cap", "5GB")
        c.run("plans", "add", "--label", "Travel SIM")
        c.run("defaults", "write", "PREF_NETWORK_CHOICES", '{"c-1": {"choice": "mobile", "name": "Pixel hotspot"}}',
              "--type", "json")
        cls.plans = sorted(row["id"] for row in c.json("plans", "list"))
        cls.links = sorted(row["name"] for row in c.json("networks"))
        # The shells find the built tallymo on the PATH, and keep their own files in the test's home.
        bin_dir = os.path.join(c.root, "bin")
        os.makedirs(bin_dir)
        os.symlink(os.path.abspath(TALLYMO), os.path.join(bin_dir, "tallymo"))
        home = os.path.join(c.root, "home")
        c.env.update(PATH=bin_dir + os.pathsep + os.environ["PATH"], HOME=home, XDG_CONFIG_HOME=os.path.join(
            home, ".config"), XDG_DATA_HOME=os.path.join(home, ".local", "share"))
        # The forms `tallymo --help` lists: each command's sub-commands and the options of each form.
        cls.forms = {}
        for form in re.findall(r"^  tallymo (.*)$", c.run("--help").stdout, re.M):
            words = form.split()
            key = tuple(words[:2]) if len(words) > 1 and re.fullmatch(r"[a-z][a-z-]*", words[1]) else (words[0],)
            cls.forms[key] = sorted(set(re.findall(r"--[a-z-]+", form)) | {"--help"})

    @classmethod
    def tearDownClass(cls):
        cls.c.cleanup()

    def cases(self):
        """(command line, what is offered) for both shells."""
        commands = sorted({key[0] for key in self.forms} | {"help"})
        cases = [(["tallymo", ""], commands)]
        for key, options in self.forms.items():
            cases.append((["tallymo", *key, "--"], options))
        for command in {key[0] for key in self.forms if len(key) == 2}:
            subcommands = sorted(key[1] for key in self.forms if len(key) == 2 and key[0] == command)
            cases.append((["tallymo", command, ""], subcommands))
        cases += [
            (["tallymo", "status", "--plan", ""], self.plans),
            (["tallymo", "plans", "switch", ""], self.plans),
            (["tallymo", "plans", "remove", self.plans[1][:8]], [self.plans[1]]),
            (["tallymo", "networks", "set", "x", ""], ["auto", "ignore", "mobile", "other"]),
            (["tallymo", "networks", "set", "x", "--json", "m"], ["mobile"]),
            (["tallymo", "defaults", "write", "K", "V", "--type", ""],
             ["bool", "date", "double", "int", "json", "string"]),
            (["tallymo", "plans", "set", "--type", "d"], ["date", "double"]),
            (["tallymo", "defaults", "read", "PREF_ACTIVE"], ["PREF_ACTIVE_PLAN"]),
        ]
        return cases

    def test_both_shells(self):
        bash_cases = self.cases() + [
            (["tallymo", "status", "--plan", "=", ""], self.plans),
            # Names with spaces come quoted for the shell.
            (["tallymo", "networks", "set", ""], sorted(name.replace(" ", "\\ ") for name in self.links)),
            (["tallymo", "networks", "set", "Pix"], ["Pixel\\ hotspot"]),
        ]
        fish_cases = self.cases() + [(["tallymo", "networks", "set", ""], self.links)]
        registered, bash_offered, bash_err = bash_complete(self.c.env, [words for words, _ in bash_cases])
        self.assertRegex(registered, r"^complete -F \w+ tallymo$")
        fish_offered, fish_err = fish_complete(self.c.env, [words for words, _ in fish_cases])
        for shell, cases, offered, err in [("bash", bash_cases, bash_offered, bash_err),
                                           ("fish", fish_cases, fish_offered, fish_err)]:
            self.assertEqual(err, "", shell)
            for (words, expected), got in zip(cases, offered):
                with self.subTest(shell=shell, line=" ".join(words)):
                    self.assertEqual(got, expected)

    def test_nothing_to_ask_offers_nothing_and_changes_nothing(self):
        """Without settings the container is not made; with damaged ones nothing is said."""
        missing = os.path.join(self.c.root, "no-container")
        damaged = os.path.join(self.c.root, "damaged")
        os.makedirs(damaged)
        pathlib.Path(damaged, "group.zr.qxnext.plist").write_text("<plist><dict><key>cut short")
        for container in (missing, damaged):
            with self.subTest(container=os.path.basename(container)):
                env, line = dict(self.c.env, TALLYMO_CONTAINER=container), [["tallymo", "status", "--plan", ""]]
                self.assertEqual((bash_complete(env, line)[1:], fish_complete(env, line)), (([[]], ""), ([[]], "")))
        self.assertFalse(os.path.exists(missing))

    def test_zsh_script_parses(self):
        p = subprocess.run(["zsh", "-n", os.path.join(COMPLETIONS, "_tallymo")], env=self.c.env, capture_output=True,
                           text=True, timeout=30)
        self.assertEqual((p.returncode, p.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])
