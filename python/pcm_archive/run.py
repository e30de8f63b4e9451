"""Many files: what there is to do, cut into batches that workers take, the processes of this machine or those of a Dask
cluster, and the table of what came out. The table is written as the rows come, so that a run that was ended goes on
where it was."""

import collections
import concurrent.futures
import csv
import fcntl
import functools
import multiprocessing
import os
import signal
import stat
import sys
import time

from . import VERSION, convert, sound

TABLE, LOCK = "archive.csv", ".archive-lock"

COLUMNS = (
    "source", "goal", "failure", "format", "seconds", "peak_db", "rms_db", "active_db", "clipped", "offset",
    "silent_share", "nan_share", "level", "clipped_by_us", "options", "bytes", "mtime_ns", "goal_bytes",
)  # fmt: skip

# A batch is one task of the scheduler, which hands out some thousand a second. It weighs a sixteenth of a worker's
# share, so that the workers end together, within bounds: work of some ten milliseconds at least, and of some seconds at most.
BATCHES_A_WORKER = 16
FILE_WEIGHT, LEAST_WEIGHT, MOST_WEIGHT = 1 << 16, 1 << 23, 1 << 29  # bytes; what opening a file costs, as bytes
WAITING_A_WORKER = 4  # batches that the scheduler knows of, so that its memory does not grow with the archive


class RunFailure(Exception):
    """Why a run cannot go on, as one line for the user."""


Job = collections.namedtuple("Job", "source goal bytes mtime_ns")  # paths below IN and OUT


# What there is to do


def find_files(root):
    """Pairs of a file's path below root, in order, and its os.stat_result, or the OSError that says why there is none.
    Links are followed, but each folder is entered once. Names that begin with a dot are left out."""
    seen = set()

    def below(folder):
        path = os.path.join(root, folder)
        try:
            status = os.stat(path)
            if (status.st_dev, status.st_ino) in seen:
                return
            seen.add((status.st_dev, status.st_ino))
            names = sorted(os.listdir(path))
        except OSError as error:
            yield folder, error
            return
        for name in names:
            if name.startswith("."):
                continue
            file = os.path.join(folder, name)
            try:
                status = os.stat(os.path.join(root, file))
            except OSError as error:
                yield file, error
                continue
            if stat.S_ISDIR(status.st_mode):
                yield from below(file)
            else:
                yield file, status

    return below("")


def assign_goals(sources, type):
    """A goal for each source: its name, with the type's ending behind it where it does not end so. Where another source
    has that goal, the ending is written once more."""
    goals, taken = {}, set()
    for source in sources:
        goal = source if source.lower().endswith("." + type) else f"{source}.{type}"
        while goal in taken:
            goal += "." + type
        taken.add(goal)
        goals[source] = goal
    return goals


def read_table(path):
    """The rows of earlier runs by their sources; the last row of a source counts, and none that was cut off."""
    try:
        with open(path, newline="", encoding="utf-8", errors="surrogateescape") as file:
            rows = csv.DictReader(file)
            return {row["source"]: row for row in rows if None not in row.values() and row.keys() == set(COLUMNS)}
    except FileNotFoundError:
        return {}


def is_done(row, job, options, out):
    """Whether a row of before tells of the very goal that the job would make."""
    if not row or row["failure"] or row["options"] != options.text() or row["goal"] != job.goal:
        return False
    if (row["bytes"], row["mtime_ns"]) != (str(job.bytes), str(job.mtime_ns)):
        return False
    try:
        return str(os.stat(os.path.join(out, job.goal)).st_size) == row["goal_bytes"]
    except OSError:
        return False


def cut_into_batches(jobs, workers):
    """Lists of jobs of about equal weight, the heaviest first, so that no worker begins a long file last."""
    weights = [job.bytes + FILE_WEIGHT for job in jobs]
    most = min(max(sum(weights) // (BATCHES_A_WORKER * workers), LEAST_WEIGHT), MOST_WEIGHT)
    batches, room = [], 0
    for job, weight in zip(jobs, weights):
        if weight > room or not batches:
            batches.append([])
            room = most
        batches[-1].append(job)
        room -= weight
    return sorted(batches, key=lambda batch: -sum(job.bytes + FILE_WEIGHT for job in batch))


# What a worker does


def version():
    return VERSION


def convert_batch(root, out, jobs, options):
    """The rows of the jobs. A file that cannot be read or written is a row with the reason."""
    rows, text = [], options.text()
    for job in jobs:
        row = {**job._asdict(), "options": text}
        try:
            goal = os.path.join(out, job.goal)
            row |= convert.convert(os.path.join(root, job.source), goal, options)
            row["goal_bytes"] = os.stat(goal).st_size
        except OSError as error:
            row["failure"] = error.strerror or str(error)
        except Exception as error:  # a file must not end the run, whatever is wrong with it
            row["failure"] = str(error) or type(error).__name__
        rows.append(row)
    return rows


# The run


class Progress:
    """A line on a terminal that says how far the run is; nothing anywhere else."""

    def __init__(self, files, weight):
        self._files, self._weight, self._start, self._shown = files, weight, time.monotonic(), 0.0
        self.done = self.failed = self.done_weight = 0
        self.seconds = 0.0

    def add(self, rows):
        for row in rows:
            self.done += 1
            self.failed += bool(row.get("failure"))
            self.seconds += row.get("seconds", 0.0)
            self.done_weight += row["bytes"] + FILE_WEIGHT
        now = time.monotonic()
        if sys.stderr.isatty() and (now - self._shown > 0.2 or self.done == self._files):
            self._shown = now
            left = (now - self._start) * (self._weight / self.done_weight - 1)
            line = f"{self.text()}, {int(left) // 60}:{int(left) % 60:02} left"
            sys.stderr.write("\r\033[K" + line[: os.get_terminal_size(2).columns - 1])
            sys.stderr.flush()

    def text(self):
        speed = self.seconds / max(time.monotonic() - self._start, 1e-9)
        hours = self.seconds / 3600
        return f"{self.done} of {self._files} files, {hours:.2f} h, {speed:.0f} times real time, {self.failed} failed"

    def end(self):
        if self._shown:
            sys.stderr.write("\r\033[K")


class Processes:
    """A worker process for each core of this machine. They ignore Ctrl-C, which this process answers."""

    def __init__(self):
        self.workers = len(os.sched_getaffinity(0))
        self._start()

    def _start(self):
        # Forked, so that a worker has loaded everything: it starts in a hundredth of the time of a cluster's.
        context = multiprocessing.get_context("fork")
        ignore = functools.partial(signal.signal, signal.SIGINT, signal.SIG_IGN)
        self._pool = concurrent.futures.ProcessPoolExecutor(self.workers, context, ignore)

    def submit(self, *call):
        try:
            return self._pool.submit(*call)
        except concurrent.futures.process.BrokenProcessPool:
            self._start()
            return self._pool.submit(*call)

    def wait(self, futures):
        return concurrent.futures.wait(futures, return_when="FIRST_COMPLETED").done

    def is_worker_lost(self, failure):
        return isinstance(failure, concurrent.futures.process.BrokenProcessPool)

    def close(self):
        for process in multiprocessing.active_children():
            process.kill()
        self._pool.shutdown(wait=True, cancel_futures=True)


class Cluster:
    """The workers of a Dask cluster."""

    def __init__(self, address):
        import distributed

        self._dask = distributed
        try:
            self._client = distributed.Client(address, timeout=5)
            self._client.wait_for_workers(1, timeout=4)
        except (OSError, ValueError, TimeoutError) as error:
            raise RunFailure(f"no scheduler with workers answers at {address}: {error}") from None
        try:
            versions = self._client.run(version)
        except ImportError as error:
            raise RunFailure(f"a worker cannot load this program: {error}") from None
        others = {worker: other for worker, other in versions.items() if other != VERSION}
        if others:
            raise RunFailure(f"workers have another version of this program than {VERSION}: {others}")
        workers = self._client.scheduler_info()["workers"].values()
        self.workers = sum(worker["nthreads"] for worker in workers)

    def submit(self, *call):
        return self._client.submit(*call, pure=False)

    def wait(self, futures):
        return self._dask.wait(list(futures), return_when="FIRST_COMPLETED").done

    def is_worker_lost(self, failure):
        return isinstance(failure, self._dask.scheduler.KilledWorker)

    def close(self):
        self._client.close()


def results(workers, root, out, jobs, options):
    """The rows of all jobs, a list at a time, as the workers make them."""
    waiting = collections.deque(cut_into_batches(jobs, workers.workers))
    batches = {}  # that the workers have, by their futures
    suspects = collections.deque()  # jobs at which a worker was lost: tried one at a time, to find the one
    while waiting or suspects or batches:
        most = 1 if suspects else WAITING_A_WORKER * workers.workers
        while (suspects or waiting) and len(batches) < most:
            batch = [suspects.popleft()] if suspects else waiting.popleft()
            batches[workers.submit(convert_batch, root, out, batch, options)] = batch
        alone = len(batches) == 1
        for future in workers.wait(batches):
            batch, failure = batches.pop(future), future.exception()
            if failure is None:
                yield future.result()
            elif not workers.is_worker_lost(failure):
                raise RunFailure(f"a worker failed: {failure}")
            elif len(batch) > 1 or not alone:
                suspects.extend(batch)
            else:
                yield [{**batch[0]._asdict(), "options": options.text(), "failure": "each worker that took it died"}]


def remove_unfinished(out):
    for folder, _, names in os.walk(out):
        for name in names:
            if name.startswith(".") and name.endswith(sound.Writer.PART):
                os.unlink(os.path.join(folder, name))


def write_table(path, rows):
    part = path + sound.Writer.PART
    with open(part, "w", newline="", encoding="utf-8", errors="surrogateescape") as file:
        table = csv.DictWriter(file, COLUMNS)
        table.writeheader()
        table.writerows(rows)
    os.rename(part, path)


def run(root, out, options, address=None, again=False):
    """Converts all files below root. Returns the rows of the table, in order, and the line that sums the run up."""
    root, out = os.path.realpath(root), os.path.realpath(out)
    if not os.path.isdir(root):
        raise RunFailure(f"{root} is not a folder")
    if os.path.commonpath([root, out]) in (root, out):
        raise RunFailure("IN and OUT must lie apart, so that no goal becomes a source")
    os.makedirs(out, exist_ok=True)
    with open(os.path.join(out, LOCK), "w") as lock:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            raise RunFailure(f"another run works on {out}") from None
        remove_unfinished(out)
        found = dict(find_files(root))
        goals = assign_goals(found, options.type)
        path = os.path.join(out, TABLE)
        before = {} if again else read_table(path)
        rows, jobs = {}, []
        for source, status in found.items():
            if isinstance(status, OSError):
                rows[source] = {"source": source, "goal": goals[source], "failure": status.strerror}
                continue
            job = Job(source, goals[source], status.st_size, status.st_mtime_ns)
            if is_done(before.get(source), job, options, out):
                rows[source] = before[source]
            else:
                jobs.append(job)
        kept, progress = len(rows), Progress(len(jobs), sum(job.bytes + FILE_WEIGHT for job in jobs))
        unreadable = sum(isinstance(status, OSError) for status in found.values())
        write_table(path, before.values())
        if jobs:
            workers = Cluster(address) if address else Processes()
            try:
                with open(path, "a", newline="", encoding="utf-8", errors="surrogateescape") as file:
                    table = csv.DictWriter(file, COLUMNS)
                    for batch in results(workers, root, out, jobs, options):
                        table.writerows(batch)
                        file.flush()
                        rows |= {row["source"]: row for row in batch}
                        progress.add(batch)
            finally:
                progress.end()
                workers.close()
                if not address:
                    remove_unfinished(out)
        ordered = [rows[source] for source in found]
        write_table(path, ordered)
    remove_unfinished(out)
    return ordered, f"{progress.text()}; {kept - unreadable} were there already"
