"""A picture of what each file costs, by the number of files: both axes logarithmic, so that costs
that grow with the tree lie on a level line."""

import math

import measure

WIDTH, HEIGHT = 720, 440
LEFT, RIGHT, TOP, BOTTOM = 80, 190, 40, 60

LINES = [("cold", "ours", "cold scan", "#c0392b"),
         ("cold", "floor", "walk, read, parse", "#e6a39b"),
         ("warm", "ours", "warm scan", "#1f618d"), ("warm", "find", "find", "#a9cce3"),
         ("warm", "git", "git status", "#5dade2"), ("export", "ours", "export", "#1e8449")]


class Axis:
    def __init__(self, values, begin, end):
        self.low, self.high = math.log10(min(values)), math.log10(max(values))
        if self.high - self.low < 0.1:
            self.low, self.high = self.low - 0.5, self.high + 0.5
        self.begin, self.end = begin, end

    def at(self, value):
        part = (math.log10(value) - self.low) / (self.high - self.low)
        return self.begin + part * (self.end - self.begin)

    def ticks(self):
        powers = range(math.floor(self.low), math.ceil(self.high) + 1)
        values = [factor * 10 ** power for power in powers for factor in (1, 2, 5)]
        return [one for one in values if self.low - 1e-9 <= math.log10(one) <= self.high + 1e-9]


def rounded(value):
    return f"{value:.1f}" if isinstance(value, float) else value


def element(name, text="", **attributes):
    written = "".join(f' {key.replace("_", "-")}="{rounded(value)}"'
                      for key, value in attributes.items())
    return f"<{name}{written}>{text}</{name}>"


def series(sizes):
    """Lines as (label, colour, [(files, microseconds a file)])."""
    for work, name, label, colour in LINES:
        points = [(files := one["facts"]["files"],
                   measure.median(one["figures"][work][name]) / files * 1e6)
                  for one in sizes if work in one["figures"]]
        if points:
            yield label, colour, points


def draw_axes(across, up):
    for value in across.ticks():
        if math.log10(value) % 1 < 1e-9:
            yield element("text", f"{value:,}", x=across.at(value), y=HEIGHT - BOTTOM + 20,
                          text_anchor="middle")
    for value in up.ticks():
        yield element("line", x1=LEFT, x2=WIDTH - RIGHT, y1=up.at(value), y2=up.at(value),
                      stroke="#ddd")
        yield element("text", f"{value:g}", x=LEFT - 8, y=up.at(value) + 4, text_anchor="end")
    yield element("text", "files", x=(LEFT + WIDTH - RIGHT) / 2, y=HEIGHT - 15,
                  text_anchor="middle")
    yield element("text", "microseconds a file", x=LEFT - 60, y=TOP - 15)


def label_places(lines, up):
    """By label: at the line's end, a line of text below the one above at least."""
    places, lowest = {}, 0
    for label, _, points in sorted(lines, key=lambda line: up.at(line[2][-1][1])):
        lowest = places[label] = max(up.at(points[-1][1]) + 4, lowest + 15)
    return places


def draw_line(colour, points, across, up):
    places = [(across.at(files), up.at(cost)) for files, cost in points]
    yield element("polyline", points=" ".join(f"{x:.1f},{y:.1f}" for x, y in places), fill="none",
                  stroke=colour, stroke_width=2)
    for x, y in places:
        yield element("circle", cx=x, cy=y, r=3.5, fill=colour)


def svg(sizes):
    lines = list(series(sizes))
    if not lines:
        measure.fail("nothing to plot: measure cold, warm or export")
    points = [point for *_, some in lines for point in some]
    across = Axis([files for files, _ in points], LEFT, WIDTH - RIGHT)
    up = Axis([cost for _, cost in points], HEIGHT - BOTTOM, TOP)
    parts = [element("rect", width=WIDTH, height=HEIGHT, fill="white"), *draw_axes(across, up)]
    places = label_places(lines, up)
    for label, colour, points in lines:
        parts += draw_line(colour, points, across, up)
        parts.append(element("text", label, x=WIDTH - RIGHT + 12, y=places[label], fill=colour))
    return element("svg", "\n" + "\n".join(parts) + "\n", xmlns="http://www.w3.org/2000/svg",
                   viewBox=f"0 0 {WIDTH} {HEIGHT}", font_family="sans-serif", font_size=12) + "\n"
