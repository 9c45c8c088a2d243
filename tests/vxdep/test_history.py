"""Random histories between scans: the store must say what a new store says of the same tree."""

import json
import os
import pathlib
import random
import shutil
import struct
import unittest

import support

BUILTIN = pathlib.Path(__file__).parents[2] / "builtin"
SCALE = int(os.environ.get("VX_TEST_SCALE", "1"))
IMAGES = [f"tex/t{i}.png" for i in range(6)]
HEADERS = [f"fx/h{i}.h" for i in range(4)]
SHADERS = [f"fx/s{i}.{kind}" for i in range(3) for kind in ("vs", "ps", "hlsl")]
VARIANTS = [f"fx/s{i}_{platform}.vs" for i in range(3) for platform in ("gl", "metal")]
EFFECTS = [f"fx/e{i}.nfx" for i in range(3)]
SURFACES = [f"mat/m{i}.surf" for i in range(4)]
THUMBS = [f"mat/m{i}_thumb.png" for i in range(4)]
SCENES = [f"level/l{i}.scn" for i in range(4)]
SPRITES = [f"ui/s{i}.spr" for i in range(2)]
ANIMATIONS = [f"anim/a{i}.rawanimation" for i in range(2)]
MODELS = [f"model/g{i}.gltf" for i in range(3)]
ALL = (IMAGES + HEADERS + SHADERS + VARIANTS + EFFECTS + SURFACES + THUMBS + SCENES + SPRITES +
       ANIMATIONS + MODELS)


def relative(target, file):
    return os.path.relpath(target, os.path.dirname(file))


def includes(rng, file, pool):
    names = [relative(rng.choice(pool), file) for _ in range(rng.randrange(3))]
    return "".join(f'#include "{name}"\n' for name in names)


def content(rng, file):
    """What a file of its kind may hold, referring to files that may or may not be there."""
    text = text_of(rng, file)
    return text if isinstance(text, bytes) else text.encode()


def text_of(rng, file):
    kind = file.rpartition(".")[2]
    if kind in ("h", "vs", "ps", "hlsl"):
        return includes(rng, file, HEADERS + SHADERS) + f"// {rng.random()}\n"
    if kind == "nfx":
        return (includes(rng, file, HEADERS) +
                f'texture T < string Name = "{rng.choice(IMAGES)}"; >;\n'
                f'technique A {{ pass P {{ VertexShader = "{rng.choice(SHADERS)}"; }} }}\n')
    if kind == "surf":
        return (f'<Surface><Shader file="{relative(rng.choice(SHADERS), file)}"/>'
                f'<Texture0 file="{relative(rng.choice(IMAGES), file)}"/></Surface>')
    if kind == "scn":
        return (f'<Scene><Item_1 model="{relative(rng.choice(MODELS), file)}" '
                f'surface="/res/{rng.choice(SURFACES)}"/>'
                f'<Sky texture="/{rng.choice(IMAGES)}"/></Scene>')
    if kind == "gltf":
        return json.dumps({"images": [{"uri": relative(rng.choice(IMAGES), file)}]})
    if kind == "spr":
        return f"a\nb\nc\n{rng.choice(IMAGES)} 1 2\n{rng.random()}\n"
    if kind == "rawanimation":
        name = relative(rng.choice(MODELS), file).encode()
        return (bytes(40) + struct.pack("<I", len(name)) + name + b"body")
    return str(rng.random())


class Histories(support.ProjectCase):
    def test_a_scan_says_what_a_new_store_says(self):
        shutil.rmtree(self.root / "builtin")
        shutil.copytree(BUILTIN, self.root / "builtin")
        for seed in range(3 * SCALE):
            with self.subTest(seed=seed):
                shutil.rmtree(self.res)
                for store in ("temp", "kept"):
                    shutil.rmtree(self.root / store, ignore_errors=True)
                self.history(random.Random(seed))

    def history(self, rng):
        for file in rng.sample(ALL, len(ALL) // 2):
            self.write(file, content(rng, file))
        for step in range(12):
            for _ in range(rng.randrange(1, 6)):
                self.change(rng)
            for file in rng.sample(ALL, 6):  # a query must not hide a change from the scan
                self.run_vxdep("-q", "deps", file)
            kept = self.answers()
            (self.root / "temp").rename(self.root / "kept")
            self.assertEqual(kept, self.answers(), f"step {step}")
            shutil.rmtree(self.root / "temp")
            (self.root / "kept").rename(self.root / "temp")

    def change(self, rng):
        file = rng.choice(ALL)
        path = self.res / file
        if path.exists() and rng.random() < 0.5:
            path.unlink()
        else:
            self.write(file, content(rng, file))

    def answers(self):
        self.assertEqual(self.run_vxdep("-q", "scan").code, 0)
        return [self.run_vxdep(*question).json for question in (["export"], ["missing", "--json"])]


if __name__ == "__main__":
    unittest.main()
