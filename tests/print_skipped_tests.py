#!/usr/bin/env python3
"""Prints, after a ctest run, every test that ctest skipped and the reason
the test gave, read from ctest's log of the run (Testing/Temporary/
LastTest.log, which ctest writes as LastTest.log.tmp until it has run this
script): ctest's own summary names skipped tests without a reason.
The reason is what a GoogleTest test wrote after "Skipped" (GTEST_SKIP), or
otherwise the first line of the test's output that is not GoogleTest's
frame. Prints nothing when no test was skipped.

ctest runs it as CTEST_CUSTOM_POST_TEST (CTestCustom.cmake in the build
tree, written by tests/CMakeLists.txt).

Usage: print_skipped_tests.py LastTest.log
"""
import re
import sys

TEST_START = re.compile(r"^\d+/\d+ Testing: (.+)$")
SKIPPED = "Skip regular expression found in output"


def blocks(lines):
    """(test name, its lines) for each test in the log."""
    name, body = None, []
    for line in lines:
        match = TEST_START.match(line)
        if match:
            if name is not None:
                yield name, body
            name, body = match.group(1), []
        elif name is not None:
            body.append(line)
    if name is not None:
        yield name, body


def output_of(body):
    """The test's output: the lines between "Output:" and "<end of output>"."""
    try:
        start = body.index("Output:") + 2
        end = body.index("<end of output>", start)
    except ValueError:
        return []
    return body[start:end]


def reason_of(output):
    for i, line in enumerate(output):
        if line.endswith(": Skipped"):  # GTEST_SKIP's "file:line: Skipped"
            message = []
            for following in output[i + 1:]:
                if not following.strip() or following.startswith("["):
                    break
                message.append(following.strip())
            if message:
                return " ".join(message)
    for line in output:
        text = line.strip()
        if text and not text.startswith("[") and not text.startswith("Running main()") \
                and not text.startswith("Note: Google Test filter"):
            return text
    return "(the test printed no reason)"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.strip().split("\n")[-1])
    lines = None
    for path in (sys.argv[1] + ".tmp", sys.argv[1]):
        try:
            with open(path, encoding="utf-8", errors="replace") as log:
                lines = log.read().splitlines()
            break
        except OSError:
            continue
    if lines is None:
        return 0
    skipped = [(name, reason_of(output_of(body)))
               for name, body in blocks(lines) if any(SKIPPED in line for line in body)]
    if skipped:
        print(f"\nWhy the {len(skipped)} skipped tests did not run:")
        for name, reason in skipped:
            print(f"  {name}: {reason}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
