"""pcm-archive: brings a folder of recordings to one format and measures them, on one machine or on a Dask cluster.

    sound.py    files: libsndfile, through soundfile, knows containers; the bytes of the samples stay as they are
    rate.py     the change of frame rate
    measure.py  what is said of a recording: its length, levels, clipping, silence
    convert.py  one file: read, measured, changed, written
    run.py      many files: batches for the workers, rows of the table, the line of progress
    report.py   the table as a page with plots
    __main__.py the command line

Each imports only those above it. A worker of a cluster needs the same version of this package.
"""

VERSION = "1.0.0"
