"""``python -m nuvrel FILE [options]``: solve a problem file from the command line (see
nuvrel.cli and docs/cli.md)."""

import sys

from nuvrel.cli import main

if __name__ == "__main__":
    sys.exit(main())
