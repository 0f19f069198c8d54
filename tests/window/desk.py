"""What the tests of the window share: a desktop for each class, windows on states of their own."""

import os
import sys
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tools", "stage"))
from browsers import Desktop, eventually
from window import Window


class WithDesktop(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = Desktop()
        cls.addClassCleanup(cls.desktop.close)

    def window(self, state, **options):
        window = Window(self.desktop, state, **options)
        self.addCleanup(window.close)
        self.addCleanup(lambda: self.assertEqual(window.complaints(), []))
        return window
