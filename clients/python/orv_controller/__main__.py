"""`python3 -m orv_controller`."""
import sys

from .cli import main

sys.exit(main())
