#!/usr/bin/env python3
"""What `vlgim check -j 2` of a folder takes beside `cat` of the same files, and how much memory: both several times,
in turns, with the files in memory. Usage: measure.py VLGIM_ARCHIVE VLGIM FOLDER [MODELS]"""

import os
import statistics
import subprocess
import sys
import time

ROUNDS = 7
make, vlgim, folder = sys.argv[1:4]
models = sys.argv[4] if len(sys.argv) > 4 else "2000"

if not os.path.isdir(folder):
    subprocess.run([make, folder, models], check=True)
files = sorted(os.path.join(folder, name) for name in os.listdir(folder))
sizes = [os.path.getsize(file) for file in files]


def run(command):
    """Wall and processor time in seconds, and the most memory held, in MiB."""
    start = time.perf_counter()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, _, usage = os.wait4(child.pid, 0)
    return time.perf_counter() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


cat = ["cat", *files]
check = [vlgim, "check", "-j", "2", folder]
run(cat)
pairs = [(run(cat), run(check)) for _ in range(ROUNDS)]
wall = [b[0] / a[0] for a, b in pairs]
work = [b[1] / a[1] for a, b in pairs]
peak = max(b[2] for _, b in pairs)
largest = max(sizes) / 2**20
print(f"{len(files)} files, {sum(sizes) / 1e9:.2f} GB, the largest {largest:.1f} MiB")
print(f"cat    {statistics.median(a[0] for a, _ in pairs):.2f} s, "
      f"check -j 2 {statistics.median(b[0] for _, b in pairs):.2f} s")
print(f"ratio  {statistics.median(wall):.2f} of the time ({min(wall):.2f} to {max(wall):.2f}), "
      f"{statistics.median(work):.2f} of the processors' work")
print(f"memory {peak:.1f} MiB at most, of {2 * (16 + 10 * largest):.0f} that two workers may take")
