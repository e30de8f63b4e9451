"""The table as one page: how levels, lengths and silence are spread, the files at the ends, and each failure. The plots
are SVG inside the page and take their colours from it, light or dark."""

import html
import io
import math

# Colours that the plots are drawn with, and the page's own that take their places.
_COLOURS = {"#010203": "var(--text)", "#040506": "var(--bars)", "#070809": "var(--lines)"}

_STYLE = """
:root { color-scheme: light dark; --text: #1d2328; --back: #fff; --bars: #2f7ab8; --lines: #d5dade; --bad: #b3261e }
@media (prefers-color-scheme: dark) {
  :root { --text: #e3e6e8; --back: #15191c; --bars: #6db3ea; --lines: #3a4248; --bad: #f2b8b5 }
}
body { font: 15px/1.45 system-ui, sans-serif; color: var(--text); background: var(--back); max-width: 64rem;
       margin: 2rem auto; padding: 0 1rem }
h2 { margin-top: 2.2rem } figure { margin: 0 } svg { width: 100%; height: auto }
.plots { display: grid; grid-template-columns: repeat(auto-fit, minmax(19rem, 1fr)); gap: 1rem }
table { border-collapse: collapse; width: 100% } th, td { text-align: right; padding: .15rem .6rem }
th:first-child, td:first-child { text-align: left; overflow-wrap: anywhere } td.reason { text-align: left }
tr + tr { border-top: 1px solid var(--lines) } .bad { color: var(--bad) }
"""


def _number(row, name):
    value = row.get(name)
    return math.nan if value in (None, "") else float(value)


def _histogram(values, label, bins):
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot

    text, bars, lines = _COLOURS
    with matplotlib.rc_context({"svg.fonttype": "none", "svg.hashsalt": "archive", "text.color": text,
                                "axes.labelcolor": text, "xtick.color": text, "ytick.color": text,
                                "axes.edgecolor": lines, "font.family": "sans-serif"}):  # fmt: skip
        figure, axes = pyplot.subplots(figsize=(4.6, 2.9), layout="constrained")
        axes.hist(values, bins=bins, color=bars)
        axes.set_xlabel(label)
        axes.set_ylabel("files")
        axes.yaxis.get_major_locator().set_params(integer=True)
        axes.grid(axis="y", color=lines, linewidth=0.6)
        axes.set_axisbelow(True)
        axes.spines[["top", "right"]].set_visible(False)
        if label.startswith("length"):
            axes.set_xscale("log")
            axes.xaxis.set_major_formatter("{x:g}")
        out = io.StringIO()
        figure.savefig(out, format="svg", transparent=True, metadata={"Date": None})
        pyplot.close(figure)
    svg = out.getvalue()
    for drawn, of_page in _COLOURS.items():
        svg = svg.replace(drawn, of_page)
    return svg[svg.index("<svg") :]


def _plots(rows):
    levels = [level for row in rows if not math.isnan(level := _number(row, "active_db"))]
    lengths = [seconds for row in rows if (seconds := _number(row, "seconds")) > 0]
    silence = [100 * share for row in rows if not math.isnan(share := _number(row, "silent_share"))]
    if lengths:
        low, high = math.log10(min(lengths)), math.log10(max(lengths))
        high = max(high, low + 0.01)
        steps = [10 ** (low + (high - low) * i / 30) for i in range(31)]
    plots = []
    if levels:
        plots.append(_histogram(levels, "level while active, dB of full scale", 30))
    if lengths:
        plots.append(_histogram(lengths, "length, seconds", steps))
    if silence:
        plots.append(_histogram(silence, "silence, % of the length", range(0, 101, 4)))
    return "".join(f"<figure>{plot}</figure>" for plot in plots)


def _table(title, rows, columns):
    if not rows:
        return ""
    head = "".join(f"<th>{name}</th>" for name, _ in columns)
    body = ""
    for row in rows:
        cells = [f"<td>{html.escape(str(row.get(key) if row.get(key) is not None else ''))}</td>" for _, key in columns]
        body += "<tr>" + "".join(cells) + "</tr>\n"
    return f"<h2>{title}</h2>\n<table><tr>{head}</tr>\n{body}</table>\n"


_LEVELS = (
    ("file", "source"), ("seconds", "seconds"), ("peak, dB", "peak_db"), ("RMS, dB", "rms_db"),
    ("active, dB", "active_db"), ("clipped samples", "clipped"),
)  # fmt: skip


def page(rows, summary, title):
    """The page as text. rows: of the table, as they were made or as they were read."""
    good = [row for row in rows if not row.get("failure")]
    failures = [row for row in rows if row.get("failure")]
    hours = sum(_number(row, "seconds") for row in good) / 3600

    def by(name, reverse):
        known = [row for row in good if not math.isnan(_number(row, name))]
        return sorted(known, key=lambda row: _number(row, name), reverse=reverse)[:10]

    clipped = [row for row in by("clipped", True) if _number(row, "clipped") > 0]
    offset = [row for row in by("offset", True) if abs(_number(row, "offset")) > 0.01]
    broken = [row for row in good if _number(row, "nan_share") > 0]
    silent = [row for row in good if _number(row, "silent_share") == 1]
    facts = [f"{len(rows)} files", f"{hours:.1f} hours", f"{len(silent)} silent", f"{len(failures)} failed"]
    failed = "".join(
        f"<tr><td>{html.escape(row['source'])}</td><td class='reason bad'>{html.escape(row['failure'])}</td></tr>\n"
        for row in failures
    )
    return (
        f"<!doctype html>\n<html lang=en><meta charset=utf-8><meta name=viewport content='width=device-width'>\n"
        f"<title>{html.escape(title)}</title>\n<style>{_STYLE}</style>\n<h1>{html.escape(title)}</h1>\n"
        f"<p>{', '.join(facts)}. The last run: {html.escape(summary)}.</p>\n<div class=plots>{_plots(good)}</div>\n"
        + (f"<h2 class=bad>Failures</h2>\n<table>{failed}</table>\n" if failed else "")
        + _table("The loudest", by("active_db", True), _LEVELS)
        + _table("The softest", by("active_db", False), _LEVELS)
        + _table("The most clipped", clipped, _LEVELS)
        + _table("Silent", silent[:100], (("file", "source"), ("seconds", "seconds"), ("peak, dB", "peak_db")))
        + _table("With an offset", offset, (("file", "source"), ("offset, of full scale", "offset")))
        + _table("With samples that are not numbers", broken, (("file", "source"), ("share", "nan_share")))
    )
