"""Makes the input of compare.sh in the folder that is named: make_input.py FOLDER"""

import array
import pathlib
import random
import subprocess
import sys
import wave

RATE = 44100


def write_wav(path, channels, parts):
    with wave.open(str(path), "wb") as file:
        file.setnchannels(channels)
        file.setsampwidth(2)
        file.setframerate(RATE)
        for part in parts:
            file.writeframesraw(part)


def noise(count, seed):
    """Noise through a slow filter, with a little offset: as busy as music is, and the same every time."""
    values, level, source = array.array("h", bytes(2 * count)), 0.0, random.Random(seed)
    for i in range(count):
        level += 0.2 * (source.uniform(-1, 1) - level)
        values[i] = int(24000 * level) + 100
    return values.tobytes()


def write_regions(path, count, samples):
    """Every region has its own cell of keys and velocities."""
    with open(path, "w", encoding="utf-8") as file:
        file.write("<global> ampeg_release=0.3\n")
        for i in range(count):
            key, velocity = i % 128, i // 128 % 127 + 1
            file.write(f"<region> sample={samples[i % len(samples)]} lokey={key} hikey={key} pitch_keycenter={key} "
                       f"lovel={velocity} hivel={velocity} volume={-(i % 60) / 10}\n")


def main():
    folder = pathlib.Path(sys.argv[1])
    for name in ("seconds", "many"):
        (folder / name).mkdir(parents=True, exist_ok=True)
    stretch = noise(20 * RATE * 2, 1)
    write_wav(folder / "ten.wav", 2, [stretch] * 30)
    write_wav(folder / "hundred.wav", 2, [stretch] * 300)
    subprocess.run(["sox", folder / "ten.wav", "-b", "24", folder / "ten24.wav"], check=True)
    subprocess.run(["flac", "-s", "-f", folder / "ten.wav", "-o", folder / "ten.flac"], check=True)
    second = 2 * RATE
    for name, count in (("seconds", 2000), ("many", 20000)):
        for i in range(count):
            start = i * 1024 % (len(stretch) - second)
            write_wav(folder / name / f"{i:05}.wav", 1, [stretch[start:start + second]])
    hundred = [f"seconds/{i:05}.wav" for i in range(100)]
    write_regions(folder / "regions.sfz", 100_000, hundred)
    write_regions(folder / "regions10.sfz", 1_000_000, hundred)
    write_regions(folder / "samples.sfz", 2000, [f"seconds/{i:05}.wav" for i in range(2000)])
    write_regions(folder / "samples10.sfz", 20000, [f"many/{i:05}.wav" for i in range(20000)])
    (folder / "done").touch()


main()
