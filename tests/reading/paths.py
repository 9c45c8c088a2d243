"""What a path is, and what the text of a reference can name."""

import os
import re

DIRECTORY, ROOT, ANCHORED, SELECTOR, IMAGE = 0x1, 0x2, 0x8, 0x20, 0x100
LONGEST_PATH = 260
IMAGES = ("dds", "vol", "tga", "bmp", "jpg", "spr", "png", "exr", "hdr", "ktx")


def key_of(text):
    """The one spelling of a path below the resource root, None for a path that leaves it."""
    segments = []
    for segment in text.replace("\\", "/").split("/"):
        if segment == "..":
            if not segments:
                return None
            segments.pop()
        elif segment not in ("", "."):
            segments.append(segment)
    key = "/".join(segments)
    return key if key and "\0" not in key and len(os.fsencode(key)) <= LONGEST_PATH else None


def beside(key, name):
    """The path of a name that is meant from the folder of a file."""
    return (os.path.dirname(key) or ".") + "/" + name


def stem_of(key):
    folder, slash, name = key.rpartition("/")
    return folder + slash + name.split(".")[0]


def extension_of(path):
    return path.rpartition(".")[2]


def is_image(path):
    return "." in path and extension_of(path).lower() in IMAGES


def is_a_path(text):
    if len(os.fsencode(text)) > LONGEST_PATH or re.search(r"[\0-\x1f\x7f]", text):
        return False
    if re.match(r"[A-Za-z][A-Za-z0-9+.-]*://|data:", text) or re.fullmatch(r"[-+]?[\d.]+", text):
        return False
    extension = re.search(r"\.([A-Za-z0-9]{1,16})$", text)
    return bool(re.search(r"[/\\]", text) or extension and re.search("[A-Za-z]", extension[1]))


class Tree:
    def __init__(self, root):
        self.root = root

    def files(self):
        for folder, _, names in os.walk(self.root):
            for name in names:
                if "\\" not in name:
                    yield os.path.relpath(os.path.join(folder, name), self.root)

    def has(self, path):
        key = key_of(path)
        return key is not None and os.path.isfile(os.path.join(self.root, key))

    def read(self, key):
        with open(os.path.join(self.root, key), "rb") as file:
            return file.read()

    def named_by(self, referrer, text, mask):
        """The files that a reference names under the strategies of its rule."""
        working = _unanchored(text) if mask & ANCHORED else text
        readings = [text] if mask & ROOT and is_a_path(text) else []
        if mask & DIRECTORY:
            readings.append(beside(referrer, text))
        if mask & SELECTOR:
            selector = re.search(r"[#?|].*", text, re.DOTALL)
            tail = len(selector[0]) if selector else 0
            readings += [reading[:len(reading) - tail] for reading in readings]
            working = re.split(r"[#?|]", working, maxsplit=1)[0]
        keys = {key_of(reading) for reading in readings + [working]} - {None}
        found = {key for key in keys if self.has(key)}
        if not found and mask & IMAGE:
            found = {self._other_image(key) for key in keys} - {None}
        return found

    def _other_image(self, key):
        others = (f"{key.rpartition('.')[0]}.{other}" for other in IMAGES if is_image(key))
        return next((other for other in others if self.has(other)), None)


def _unanchored(text):
    return re.sub(r"^[/\\]*(?:res[/\\]+)?(?=[^/\\])", "", text)
