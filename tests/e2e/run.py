#!/usr/bin/env python3
"""Runs the end-to-end tests on a private network. usage: run.py [PART OF A NAME]..."""

import os
import sys
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE, os.path.join(HERE, "..", "..", "tools", "stage")]
from stage import PROGRAMS, leave_network


def main():
    if not os.path.exists(PROGRAMS + "/velmora"):
        sys.exit("there is no %s/velmora: ./run build" % PROGRAMS)
    leave_network()
    loader = unittest.TestLoader()
    loader.testNamePatterns = ["*%s*" % part for part in sys.argv[1:]] or None
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2).run(loader.discover(HERE))
    failed = len(result.failures) + len(result.errors) + len(result.unexpectedSuccesses)
    print("%d passed, %d failed" % (result.testsRun - failed - len(result.skipped), failed))
    return 1 if failed or not result.testsRun else 0


if __name__ == "__main__":
    sys.exit(main())
