#!/usr/bin/env python3
"""Prints the RAID storage tree, whole or not at all: readTree.py /var/RAIDStorageDeviceTree.xml"""
import fcntl
import sys
import time

for attempt in range(10):
    with open(sys.argv[1], "rb") as file:
        fcntl.lockf(file, fcntl.LOCK_SH, 1)  # the writer's lockf is the same kind of lock; flock is another
        text = file.read()
    if b"</QPRaidStorageDeviceTree>" in text:
        sys.stdout.buffer.write(text)
        sys.exit()
    time.sleep(0.05)  # empty: it was truncated, its text comes next
sys.exit(f"readTree: no whole tree in {sys.argv[1]}")
