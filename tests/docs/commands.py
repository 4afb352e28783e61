"""The commands that the documents show."""

import os
import re
import shlex
import shutil

SHELL_WORDS = {"cd", "export"}
# What the word behind an option of ctest names.
CTEST_VALUES = {"-R": "test", "-E": "test", "-L": "label", "-LE": "label"}


class CommandChecker:
    """Reports what a command names and the repository does not have, to the names' checker."""

    def __init__(self, repository, names):
        self.repository = repository
        self.names = names

    def fault(self, number, text):
        self.names.fault(number, text)

    @staticmethod
    def is_command(word):
        return (word.startswith(("script/", "samples/make", "build/", "tests/"))
                or word in ("cmake", "ctest", "git", "sudo")
                or re.fullmatch(r"quorvel[\w-]*|[A-Z_]+=\S+", word))

    def check_line(self, number, line):
        try:
            words = shlex.split(line.strip().removeprefix("$ "), comments=True)
        except ValueError:
            self.fault(number, f"not a command: {line}")
            return
        command = []
        for word in words + ["&&"]:
            if word in ("&&", "||", "|", ";"):
                self.check_command(number, command)
                command = []
            else:
                command.append(word)

    def check_command(self, number, words):
        while words and re.fullmatch(r"[A-Z_]+=.*", words[0]):
            self.names.check_variable(number, words[0])
            words = words[1:]
        if words and words[0] == "sudo":
            words = words[1:]
        if not words:
            return
        program, arguments = words[0].removeprefix("./"), words[1:]
        if program == "cmake":
            self.check_cmake(number, arguments)
        elif program == "ctest":
            self.check_ctest(number, arguments)
        elif program == "script/test":
            self.check_test_script(number, arguments)
        elif program.startswith("build/"):
            self.names.check_built(number, program)
            self.check_program_options(number, program, arguments)
        elif "/" in program:
            self.check_script(number, program, arguments)
        elif re.fullmatch(r"quorvel[\w-]*", program):
            if not self.repository.has_target(program):
                self.fault(number, f"no program {program}")
        elif program not in SHELL_WORDS and not shutil.which(program):
            self.fault(number, f"no command {program}")
        if program not in ("ctest", "script/test"):
            for word in arguments:
                if word.split("/")[0] in self.repository.folders and "=" not in word:
                    self.names.check_path(number, word)

    def check_script(self, number, program, arguments):
        if not self.repository.is_executable(program):
            self.fault(number, f"no script {program}")
            return
        text = self.repository.read(program)
        # A script may hand its options to another one that it names.
        for name in self.repository.files:
            if os.path.basename(name) in text and self.repository.is_executable(name):
                text += self.repository.read(name)
        for word in arguments:
            option = word.split("=")[0]
            if option.startswith("--") and len(option) > 2 and option not in text:
                self.fault(number, f"{program} has no option {option}")
        if arguments and re.fullmatch(r"[a-z]+", arguments[0]):
            if arguments[0] not in re.findall(r"\w+", text):
                self.fault(number, f"{program} knows no {arguments[0]}")

    def check_program_options(self, number, program, arguments):
        for word in arguments:
            name, _, value = word.partition("=")
            if name == "--gtest_filter":
                self.check_gtest_filter(number, value)
            elif name.startswith("--") and not name.startswith("--gtest_"):
                if not self.repository.says(name) and not self.repository.says(name[2:]):
                    self.fault(number, f"{os.path.basename(program)} has no option {name}")

    def check_gtest_filter(self, number, value):
        for pattern in value.lstrip("-").split(":"):
            regex = re.escape(pattern).replace(r"\*", ".*").replace(r"\?", ".")
            if not self.has_test(f"^{regex}$"):
                self.fault(number, f"no test is named {pattern}")

    def check_cmake(self, number, arguments):
        kind = "build" if "--build" in arguments else "configure"
        for word, value in zip(arguments, arguments[1:] + [""]):
            if word == "--preset":
                self.check_preset(number, kind, value)
        for word in arguments:
            if word.startswith("-DQUORVEL_"):
                name = re.match(r"-D(\w+)", word).group(1)
                if not self.repository.has_target(name):
                    self.fault(number, f"no build option {name}")

    def check_test_script(self, number, arguments):
        if not self.repository.is_executable("script/test"):
            self.fault(number, "no script script/test")
        if arguments and not arguments[0].startswith("-") and arguments[0].isalpha():
            if arguments[0] != "PRESET":
                self.check_preset(number, "test", arguments[0])
            arguments = arguments[1:]
        self.check_ctest(number, arguments)

    def check_ctest(self, number, arguments):
        for word, value in zip(arguments, arguments[1:] + [""]):
            if word == "--preset":
                self.check_preset(number, "test", value)
            elif CTEST_VALUES.get(word) == "test" and not self.has_test(value):
                self.fault(number, f"no test matches {value}")
            elif CTEST_VALUES.get(word) == "label" and not self.has_label(value):
                self.fault(number, f"no test has the label {value}")

    def check_preset(self, number, kind, name):
        if name not in self.repository.presets.get(kind, set()):
            self.fault(number, f"no {kind} preset {name}")

    def has_test(self, pattern):
        tests = self.repository.tests
        return tests is None or any(re.search(pattern, name) for name in tests)

    def has_label(self, pattern):
        tests = self.repository.tests
        return tests is None or any(re.search(pattern, label)
                                    for labels in tests.values() for label in labels)
