#!/usr/bin/env python3
"""Kalvo as a user runs it: the simulator and the app as separate processes,
the app in a window of its own Xvfb display, their CPU read from the kernel.

Prints each figure beside its goal:
  first cycle   22 feeds x 100 items with 120-word HTML descriptions
  quiet cycle   a cycle in which no feed has anything new
  idle          the app with nothing changing, online and offline
  latency       from the simulator publishing a headline to its row on screen

The app writes timing marks when QT_LOGGING_RULES enables "kalvo.trace"
(a cycle begins and ends, a headline's row reached the screen), each with the
wall clock in milliseconds; the simulator's --log-published says when each
headline came out. Both processes share the machine's clock.

Usage: bench/whole_process.py [--build DIR] [--quick]
"""

import argparse
import glob
import json
import os
import queue
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import threading
import time

TICKS = os.sysconf("SC_CLK_TCK")


# ---------------------------------------------------------------- CPU readings

def process_cpu_s(pid):
    """User + system time of the whole process, dead threads included (10 ms steps)."""
    with open(f"/proc/{pid}/stat") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def thread_cpu_s(pid, tid):
    """Time on CPU of one thread, in nanoseconds' precision."""
    try:
        with open(f"/proc/{pid}/task/{tid}/schedstat") as f:
            return int(f.read().split()[0]) / 1e9
    except OSError:
        return 0.0


def live_threads_cpu_s(pid):
    """Sum over the live threads, in nanoseconds' precision: for short windows."""
    return sum(thread_cpu_s(pid, os.path.basename(t)) for t in glob.glob(f"/proc/{pid}/task/*"))


def cpu_by_thread_name(pid):
    """Live threads' time on CPU, summed per thread name."""
    names = {}
    for task in glob.glob(f"/proc/{pid}/task/*"):
        tid = os.path.basename(task)
        try:
            with open(f"{task}/comm") as f:
                name = f.read().strip()
        except OSError:
            continue
        name = "GUI" if tid == str(pid) else name
        names[name] = names.get(name, 0.0) + thread_cpu_s(pid, tid)
    return names


class Sample:
    def __init__(self, pid):
        self.wall = time.monotonic()
        self.process = process_cpu_s(pid)
        self.threads = live_threads_cpu_s(pid)
        self.gui = thread_cpu_s(pid, pid)  # the main thread runs the GUI
        self.by_name = cpu_by_thread_name(pid)

    def busiest_since(self, before, count=5):
        spent = {name: cpu - before.by_name.get(name, 0.0) for name, cpu in self.by_name.items()}
        top = sorted(spent.items(), key=lambda item: -item[1])[:count]
        return ", ".join(f"{name} {cpu * 1e3:.0f} ms" for name, cpu in top if cpu > 0.0005)


# ---------------------------------------------------------------- processes

class Lines:
    """Reads a pipe line by line on a thread of its own, so the reader never blocks."""

    def __init__(self, pipe):
        self.queue = queue.Queue()
        threading.Thread(target=self._pump, args=(pipe,), daemon=True).start()

    def _pump(self, pipe):
        for raw in pipe:
            self.queue.put(raw.decode("utf-8", "replace").rstrip("\n"))
        self.queue.put(None)

    def next(self, timeout):
        try:
            return self.queue.get(timeout=timeout)
        except queue.Empty:
            return ""


def start_display():
    r, w = os.pipe()
    xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(w), "-screen", "0", "1400x900x24", "-nolisten", "tcp"],
                            pass_fds=(w,), stderr=subprocess.DEVNULL)
    os.close(w)
    with os.fdopen(r) as f:
        display = ":" + f.readline().strip()
    return xvfb, display


def start_simulator(build, *args):
    sim = subprocess.Popen([os.path.join(build, "sim", "kalvo-sim"), "--port", "0", *args],
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    lines = Lines(sim.stdout)
    text = ""
    while not text.rstrip().endswith("}"):
        line = lines.next(10)
        if line is None or line == "":
            raise SystemExit("whole_process: the simulator did not start")
        text += line + "\n"
    return sim, lines, json.loads(text)


def start_app(build, display, endpoints, data_dir):
    path = os.path.join(data_dir, "endpoints.json")
    with open(path, "w") as f:
        json.dump(endpoints, f)
    env = dict(os.environ, DISPLAY=display, KALVO_DATA_DIR=data_dir, QT_LOGGING_RULES="kalvo.trace.debug=true")
    for name in ("QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "QT_QUICK_BACKEND"):
        env.pop(name, None)
    app = subprocess.Popen([os.path.join(build, "src", "kalvo"), "--endpoints", path],
                           stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, env=env)
    return app, Lines(app.stderr)


def stop(*processes):
    for p in processes:
        if p and p.poll() is None:
            p.send_signal(signal.SIGTERM)
    for p in processes:
        if p:
            try:
                p.wait(5)
            except subprocess.TimeoutExpired:
                p.kill()
                p.wait()


def wait_for(lines, prefix, timeout):
    """The next trace line that starts with `prefix`, split into words; None on time-out."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        line = lines.next(max(0.01, deadline - time.monotonic()))
        if line is None:
            raise SystemExit("whole_process: the app ended early")
        if line.startswith("kalvo.trace: " + prefix):
            return line[len("kalvo.trace: "):].split()
    return None


# ---------------------------------------------------------------- report

RESULTS = []


def report(what, value, unit, goal, scale=1.0, digits=1):
    met = value <= goal
    RESULTS.append(met)
    print(f"  {what:<44} {value * scale:8.{digits}f} {unit:<4} goal <= {goal * scale:.{digits}f} {unit}  "
          f"{'met' if met else 'MISSED'}")


# ---------------------------------------------------------------- runs

def first_cycle(lines, pid):
    """Process CPU of the app's first cycle, and a line about it."""
    if wait_for(lines, "news cycle begins", 60) is None:
        raise SystemExit("whole_process: no news cycle began")
    begin = Sample(pid)
    ended = wait_for(lines, "news cycle ends", 60)
    if ended is None:
        raise SystemExit("whole_process: the first cycle did not end")
    end = Sample(pid)
    return end.process - begin.process, (f"{end.wall - begin.wall:.2f} s wall, {ended[-1]} frames since start-up; "
                                         f"{end.busiest_since(begin)}")


def cycles_run(build, display, work, starts, quiet_cycles, idle_seconds):
    """First cycle of the full workload (in `starts` fresh apps, each with an
    empty data folder: one start varies with what else its first second
    brings), quiet cycles after the last one, then idle. The simulator's clock
    stands still, so after the first cycle nothing is new."""
    sim, _, endpoints = start_simulator(build, "--news-per-minute", "600", "--items-per-feed", "100",
                                        "--description-words", "120", "--frozen")
    app = None
    try:
        firsts = []
        for n in range(starts):
            stop(app)
            folder = os.path.join(work, f"start{n}")
            os.makedirs(folder)
            app, lines = start_app(build, display, endpoints, folder)
            pid = app.pid
            cpu, detail = first_cycle(lines, pid)
            firsts.append(cpu)
            print(f"  first cycle, start {n + 1}: {cpu:.2f} s CPU; {detail}")
        print(f"first cycle: median of {starts} starts")
        report("process CPU", statistics.median(firsts), "s", 0.25, digits=2)

        process, gui = [], []
        for _ in range(quiet_cycles):
            if wait_for(lines, "news cycle begins", 30) is None:
                raise SystemExit("whole_process: quiet cycles stopped")
            begin = Sample(pid)
            wait_for(lines, "news cycle ends", 30)
            end = Sample(pid)
            process.append(end.threads - begin.threads)
            gui.append(end.gui - begin.gui)
        print(f"cycle with nothing new: median of {quiet_cycles} "
              f"(process {min(process) * 1e3:.1f} .. {max(process) * 1e3:.1f} ms)")
        report("process CPU", statistics.median(process), "ms", 0.030, scale=1e3)
        report("GUI thread CPU", statistics.median(gui), "ms", 0.002, scale=1e3, digits=2)

        start = Sample(pid)
        time.sleep(idle_seconds)
        end = Sample(pid)
        print(f"idle online ({idle_seconds} s; quiet cycles, price and calendar polls, clocks included):")
        report("share of one core", (end.process - start.process) / (end.wall - start.wall), "%", 0.01,
               scale=100, digits=2)
    finally:
        stop(app, sim)


def offline_run(build, display, work, settle_seconds, idle_seconds):
    """No source answers: spinners and retries are all the app has to do."""
    app = None
    try:
        app, _ = start_app(build, display, {"base": "http://127.0.0.1:9"}, work)
        time.sleep(settle_seconds)
        start = Sample(app.pid)
        time.sleep(idle_seconds)
        end = Sample(app.pid)
        print(f"idle offline ({idle_seconds} s after {settle_seconds} s, every source refused):")
        report("share of one core", (end.process - start.process) / (end.wall - start.wall), "%", 0.01,
               scale=100, digits=2)
    finally:
        stop(app)


def latency_run(build, display, work, headlines):
    """Headlines come out at two a second across the 22 feeds; each is timed from
    its publication to the first frame that shows its row."""
    sim, published_lines, endpoints = start_simulator(build, "--news-per-minute", "120", "--log-published")
    app = None
    try:
        app, lines = start_app(build, display, endpoints, work)
        if wait_for(lines, "news cycle ends", 60) is None:
            raise SystemExit("whole_process: the first cycle did not end")
        # Only headlines published from here on: the first cycle's are old news.
        since_ms = time.time() * 1000
        published, shown = {}, {}
        deadline = time.monotonic() + headlines / 2 + 60
        while time.monotonic() < deadline:
            line = published_lines.next(0.05)
            while line:
                words = line.split()
                if len(words) == 3 and words[0] == "published":
                    at = iso_ms(words[1])
                    if at >= since_ms and len(published) < headlines:
                        published[words[2]] = at
                line = published_lines.next(0)
            line = lines.next(0.05)
            while line:
                if line.startswith("kalvo.trace: news shown "):
                    _, _, _, at, link = line.split(maxsplit=4)
                    shown.setdefault(link, int(at))
                line = lines.next(0)
            if len(published) >= headlines and all(link in shown for link in published):
                break
        delays = sorted((shown[link] - at) / 1000 for link, at in published.items() if link in shown)
        missing = len(published) - len(delays)
        print(f"headline latency over {len(published)} headlines ({missing} never shown):")
        if not delays:
            RESULTS.append(False)
            return
        report("p50", percentile(delays, 50), "s", 6.0)
        report("p99", percentile(delays, 99), "s", 12.5)
        if missing:
            RESULTS.append(False)
    finally:
        stop(app, sim)


def iso_ms(text):
    """2026-11-25T01:02:03.456Z as milliseconds since the epoch."""
    import datetime
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00")).timestamp() * 1000


def percentile(sorted_values, p):
    index = max(0, min(len(sorted_values) - 1, round(p / 100 * len(sorted_values) + 0.5) - 1))
    return sorted_values[index]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "build"))
    parser.add_argument("--quick", action="store_true", help="shorter runs, for a first look")
    args = parser.parse_args()
    build = os.path.abspath(args.build)
    quick = args.quick

    xvfb, display = start_display()
    work = tempfile.mkdtemp(prefix="kalvo-bench-")
    try:
        print(f"Kalvo whole-process benchmark ({os.cpu_count()} cores, display {display})")
        for name, run in (("cycles", lambda d: cycles_run(build, display, d, 3 if quick else 5, 5 if quick else 10,
                                                                 20 if quick else 60)),
                          ("offline", lambda d: offline_run(build, display, d, 25, 20 if quick else 60)),
                          ("latency", lambda d: latency_run(build, display, d, 50 if quick else 200))):
            folder = os.path.join(work, name)
            os.makedirs(folder)
            run(folder)
    finally:
        stop(xvfb)
        shutil.rmtree(work, ignore_errors=True)
    print("all goals met" if all(RESULTS) else "some goals MISSED")
    return 0 if all(RESULTS) else 1


if __name__ == "__main__":
    sys.exit(main())
