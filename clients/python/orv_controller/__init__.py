"""Keeps a switch in the state that a file describes, through the OrvSdkRpc programming service.

Reading order for authors of another controller: `sync` (what to do with a new connection),
`controller` (what to do when it breaks), `client` (the RPCs).
"""

__version__ = "1.0.0"
