"""The command line of pcm-archive."""

import argparse
import os
import signal
import sys

EPILOG = """\
The table archive.csv in OUT has a row for each file: its goal or the reason why there is none, and what was measured. A
later run with the same options converts what is new or has changed; a run that was ended goes on.

Exit status: the number of files that could not be converted, 100 if there are more; 120 when the run could not be
made, 130 when it was ended by Ctrl-C.
"""


class Parser(argparse.ArgumentParser):
    def error(self, message):
        self.exit(120, f"{self.prog}: {message}; see {self.prog} --help\n")


def parse(arguments):
    from . import VERSION, sound

    def number(low, high, kind):
        def of(text):
            value = kind(text)
            if not low <= value <= high:
                raise argparse.ArgumentTypeError(f"a number from {low} to {high} is wanted, not {text}")
            return value

        of.__name__ = "number"
        return of

    encodings = sorted(
        name if size == 1 else name + order
        for name, size in sound.BYTES.items()
        for order in ("le", "be")[: 1 if size == 1 else 2]
    )
    parser = Parser(
        "pcm-archive",
        description="Brings all audio files below IN to one format, measures them, and writes them below OUT.",
        epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        allow_abbrev=False,
    )
    add = parser.add_argument
    add("IN", help="a folder; what libsndfile reads is converted, names that begin with a dot are left out")
    add("OUT", help="a folder, made if need be; it gets the folders of IN")
    add("--type", choices=sound.TYPES, default="wav", help="what OUT's files are; default: wav")
    add("--encoding", choices=encodings, metavar="NAME", help=f"how they hold samples; default: as the source does, as "
        f"far as they can: {' '.join(encodings)}")  # fmt: skip
    add("--rate", type=number(1, 655350, int), metavar="HZ", help="their frame rate")
    add("--channels", type=number(1, 1024, int), metavar="N", help="N channels, each the average of the source's; a "
        "source of N channels stays as it is")  # fmt: skip
    level = parser.add_mutually_exclusive_group()
    level.add_argument("--level", type=number(-200, 200, float), metavar="DB", help="raise the level by DB decibels")
    level.add_argument("--peak", type=number(-200, 0, float), metavar="DB", help="bring each file's loudest sample to "
                       "DB, of full scale; reads each file twice")  # fmt: skip
    add("--scheduler", metavar="ADDRESS", help="the Dask cluster that does the work, such as tcp://host:8786; IN "
        "and OUT are paths that they all see; default: a process for each core of this machine")  # fmt: skip
    add("--report", metavar="FILE", help="write a page with plots, as HTML")
    add("--again", action="store_true", help="also convert what is there already")
    add("--version", action="version", version=f"pcm-archive (pcm) {VERSION}")
    return parser.parse_args(arguments)


def main(arguments=None):
    asked = parse(arguments)
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    from . import convert, report, run

    options = convert.Options(asked.type, asked.encoding, asked.rate, asked.channels, asked.level, asked.peak)
    try:
        if asked.report:  # what it needs is missing now rather than after hours
            import matplotlib

            open(asked.report, "a").close()
        rows, summary = run.run(asked.IN, asked.OUT, options, asked.scheduler, asked.again)
        failures = [row for row in rows if row.get("failure")]
        for row in failures[:10]:
            print(f"pcm-archive: {row['source']}: {row['failure']}", file=sys.stderr)
        if len(failures) > 10:
            print(
                f"pcm-archive: and {len(failures) - 10} more, in {os.path.join(asked.OUT, run.TABLE)}", file=sys.stderr
            )
        print(summary)
        if asked.report:
            with open(asked.report, "w", encoding="utf-8", errors="replace") as file:
                file.write(report.page(rows, summary, f"Archive {asked.IN}"))
        return min(len(failures), 100)
    except (run.RunFailure, OSError, ImportError) as error:
        print(f"pcm-archive: {error}", file=sys.stderr)
        return 120
    except KeyboardInterrupt:
        print("pcm-archive: ended; the same command goes on from here", file=sys.stderr)
        return 130


if __name__ == "__main__":
    sys.exit(main())
