"""Keeps a switch as a file says, through the OrvSdkRpc programming service.

Reading order for people who write a controller of their own: `sync` (what to do when a
connection stands), `controller` (what to do when it breaks), `client` (the RPCs).
"""

__version__ = "1.0.0"
