"""adopting.py COMMAND...: runs COMMAND as a process that adopts its orphaned descendants.

DaemonProcess asks for that itself, which qemu-arm refuses; what is set here stays with the process.
"""

import ctypes
import os
import sys

PR_SET_CHILD_SUBREAPER = 36

libc = ctypes.CDLL(None, use_errno=True)
if libc.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
    sys.exit(os.strerror(ctypes.get_errno()))
os.execvp(sys.argv[1], sys.argv[1:])
