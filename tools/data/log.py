"""Progress lines of long steps."""

import sys
import time


def log(text):
    print(time.strftime("%H:%M:%S"), text, file=sys.stderr, flush=True)
