#!/usr/bin/python3
"""usage: docs_test.py TOOL SOURCE_DIR   checks and runs every complete scene that README.md and docs/ show.

A scene is a fenced json or jsonc block with a "flx" key. Its relative paths start at the folder of the page that shows it.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

tool, source = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
failed = count = 0

with tempfile.TemporaryDirectory() as scratch:
    scratch = pathlib.Path(scratch)
    (scratch / "docs").mkdir()
    (scratch / "examples").symlink_to(source / "examples")
    for page in [source / "README.md", *sorted((source / "docs").glob("*.md"))]:
        text = page.read_text(encoding="utf-8")
        for block in re.finditer(r"^```jsonc?\n(.*?)^```", text, re.MULTILINE | re.DOTALL):
            if not re.search(r'"flx"\s*:', block[1]):
                continue
            count += 1
            line = text.count("\n", 0, block.start()) + 1
            scene = scratch / page.relative_to(source).parent / f"scene{count}.json"
            scene.write_text(block[1], encoding="utf-8")
            start = int((re.search(r'"frames"\s*:\s*\[\s*(\d+)', block[1]) or [0, 1])[1])
            for command in (["check", scene], ["run", scene, "--quiet", "--frames", f"{start}-{start + 23}"]):
                result = subprocess.run([tool, *command], capture_output=True, text=True, check=False)
                if result.returncode:
                    failed += 1
                    print(f"{page.relative_to(source)}:{line}: flx {command[0]} ended with {result.returncode}\n"
                          f"{result.stdout}{result.stderr}")

print(f"{count} scenes, {failed} failures")
sys.exit(1 if failed or not count else 0)
