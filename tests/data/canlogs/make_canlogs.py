#!/usr/bin/python3
"""Writes the CAN logs under tests/data/canlogs and the frames expected of them.

Run with Debian's python3 (python3-can): /usr/bin/python3 make_canlogs.py
Logs that python-can writes are read back by python-can for the expected
frames; the TRC versions it can't write (1.1 with remote frames, 1.3, 2.0),
candump's screen form and the BLF objects it doesn't write are made by hand
here from the same messages, and their expected frames are those messages.

expected/<log>.frames holds one line per frame, as tst_canlogs prints them:
  <µs since the log's start> <channel> <id hex> <flags> <length> <data hex>
flags: x 29-bit, r remote, f FD, b BRS, e ESI, "-" none; data "-" when empty.
real-logs.digest holds count and FNV-1a-64 of those lines for the shared logs.
"""
import io, os, random, struct, sys, zlib

os.environ["TZ"] = "UTC"  # python-can reads and writes wall-clock times as local time
import time
time.tzset()

import can
from can.util import len2dlc

HERE = os.path.dirname(os.path.abspath(__file__))
EXPECTED = os.path.join(HERE, "expected")
T0 = 1600000000.0


def canonical(msgs, start=0.0, channel_of=lambda m: m.channel):
    lines = []
    for m in msgs:
        if m.is_error_frame:
            continue
        flags = "".join(c for c, on in (("x", m.is_extended_id), ("r", m.is_remote_frame), ("f", m.is_fd),
                                        ("b", m.bitrate_switch), ("e", m.error_state_indicator)) if on) or "-"
        data = "-" if m.is_remote_frame or not m.data else bytes(m.data).hex()
        us = round((m.timestamp - start) * 1e6)
        lines.append(f"{us} {channel_of(m)} {m.arbitration_id:x} {flags} {m.dlc} {data}\n")
    return lines


def write_expected(name, lines):
    with open(os.path.join(EXPECTED, name + ".frames"), "w") as f:
        f.writelines(lines)


def messages(count, seed, fd=False, remote=True, channels=(0,)):
    rnd = random.Random(seed)
    t = T0
    out = []
    for _ in range(count):
        t += rnd.randrange(1, 20000) / 1e6
        ext = rnd.random() < 0.3
        m = can.Message(timestamp=t, arbitration_id=rnd.randrange(0x20000000 if ext else 0x800),
                        is_extended_id=ext, channel=rnd.choice(channels))
        kind = rnd.random()
        if remote and kind < 0.1:
            m.is_remote_frame, m.dlc = True, rnd.randrange(9)
        else:
            if fd and kind < 0.35:
                m.is_fd, m.bitrate_switch, m.error_state_indicator = True, rnd.random() < 0.5, rnd.random() < 0.3
            n = rnd.choice([1, 2, 5, 8, 12, 16, 20, 24, 32, 48, 64]) if m.is_fd else rnd.randrange(9)
            m.data, m.dlc = bytearray(rnd.randrange(256) for _ in range(n)), n
        out.append(m)
    return out


def with_error_frames(msgs, every=17):
    error = lambda m: can.Message(timestamp=m.timestamp, is_error_frame=True, channel=m.channel)
    return [x for i, m in enumerate(msgs) for x in ([m, error(m)] if i % every == 5 else [m])]


def candump():
    msgs = messages(300, 1, fd=True, channels=("can0", "vcan1", "can2"))
    path = os.path.join(HERE, "candump.log")
    with can.CanutilsLogWriter(path) as w:
        for m in with_error_frames(msgs):
            w.on_message_received(m)
    lines = open(path).read().splitlines(keepends=True)
    # Comments, blank lines and remote frames with a length, as candump writes them.
    lines.insert(0, "# candump -l of three buses\n")
    lines.insert(40, "\n")
    remote = next(i for i in range(60, len(lines)) if "#R " in lines[i])
    lines[remote] = lines[remote].replace("#R ", "#R4 ")
    lines.insert(120, "   # a comment after blanks\n")
    open(path, "w").writelines(lines)
    plain = "".join(l for l in lines if l.strip() and not l.lstrip().startswith("#"))
    read = list(can.CanutilsLogReader(io.StringIO(plain)))
    order = list(dict.fromkeys(m.channel for m in read if not m.is_error_frame))
    write_expected("candump.log", canonical(read, channel_of=lambda m: order.index(m.channel)))

    # candump's screen form with absolute times (-ta), classic frames only.
    screen = messages(40, 2, channels=("can0", "can1"))
    with open(os.path.join(HERE, "candump-screen.log"), "w") as f:
        for m in screen:
            idtext = f"{m.arbitration_id:08X}" if m.is_extended_id else f"{m.arbitration_id:03X}"
            body = "remote request" if m.is_remote_frame else " ".join(f"{b:02X}" for b in m.data)
            f.write(f" ({m.timestamp:.6f})  {m.channel}  {idtext}   [{m.dlc}]  {body}\n")
    write_expected("candump-screen.log", canonical(screen, channel_of=lambda m: int(m.channel[-1])))


def asc():
    msgs = messages(300, 3, fd=True, channels=(0, 1, 3))
    path = os.path.join(HERE, "vector.asc")
    with can.ASCWriter(path) as w:
        for m in with_error_frames(msgs):
            w.on_message_received(m)
    lines = open(path).read().splitlines(keepends=True)
    lines[0] = "date Sat Sep 30 10:06:13.191 pm 2017\n"
    lines.insert(1, "// version 9.0.0\n")
    lines.insert(50, "  12.500000 1  Statistic: D 0 R 0 XD 0 XR 0 E 0 O 0 B 0.00%\n")
    lines.insert(51, "  12.500000 CAN 1 Status:chip status error active\n")
    open(path, "w").writelines(lines)
    read = list(can.ASCReader(path, relative_timestamp=True))
    write_expected("vector.asc", canonical(read))

    # Decimal ids and data, written by hand.
    dec = messages(30, 4, remote=False, channels=(0, 1))
    path = os.path.join(HERE, "vector-dec.asc")
    with open(path, "w") as f:
        f.write("date Mon Feb 21 01:54:10 PM 2022\nbase dec  timestamps absolute\nno internal events logged\n")
        f.write("Begin Triggerblock Mon Feb 21 01:54:10 PM 2022\n   0.000000 Start of measurement\n")
        for m in dec:
            ident = f"{m.arbitration_id}" + ("x" if m.is_extended_id else "")
            data = " ".join(str(b) for b in m.data)
            f.write(f"{m.timestamp - T0:11.6f} {m.channel + 1}  {ident:<15} Rx   d {m.dlc} {data}\n")
        f.write("End TriggerBlock\n")
    read = list(can.ASCReader(path, relative_timestamp=True))
    write_expected("vector-dec.asc", canonical(read))


TRC_START_DAYS = "43831.5"  # 2020-01-01 12:00:00


def trc():
    # 2.1 and 1.0 as python-can writes them, with ;$STARTTIME set to a known day.
    for version, name in ((can.io.trc.TRCFileVersion.V2_1, "peak-2.1.trc"),
                          (can.io.trc.TRCFileVersion.V1_0, "peak-1.0.trc")):
        msgs = messages(200, 5, remote=False, channels=(0, 1))
        if version != can.io.trc.TRCFileVersion.V2_1:
            for m in msgs:
                m.timestamp = T0 + round(m.timestamp - T0, 3)  # 1.0 has whole milliseconds
        path = os.path.join(HERE, name)
        with can.TRCWriter(path) as w:
            w.file_version = version
            for m in msgs:
                w.on_message_received(m)
        text = open(path, newline="").read()
        text = "\n".join(l if not l.startswith(";$STARTTIME") else ";$STARTTIME=" + TRC_START_DAYS
                         for l in text.split("\n"))
        open(path, "w", newline="").write(text)
        read = list(can.TRCReader(path))
        chan = (lambda m: m.channel - 1) if version == can.io.trc.TRCFileVersion.V2_1 else (lambda m: 0)
        write_expected(name, canonical(read, start=0.0, channel_of=chan))

    # 1.1, 1.3 and 2.0 by hand, from PEAK's description of the versions.
    msgs = messages(120, 6, fd=True, channels=(0, 1))
    for m in msgs:
        m.timestamp = T0 + round(m.timestamp - T0, 4)
    classic = [m for m in msgs if not m.is_fd]
    hexdata = lambda m: " ".join(f"{b:02X}" for b in m.data)
    body = lambda m: "RTR" if m.is_remote_frame else hexdata(m)
    ident = lambda m, w: f"{m.arbitration_id:08X}" if m.is_extended_id else f"{m.arbitration_id:04X}".rjust(w)
    with open(os.path.join(HERE, "peak-1.1.trc"), "w", newline="") as f:
        f.write(f";$FILEVERSION=1.1\r\n;$STARTTIME={TRC_START_DAYS}\r\n;\r\n;   Message Number\r\n")
        for i, m in enumerate(classic):
            off = (m.timestamp - T0) * 1000
            f.write(f"{i + 1:6}) {off:11.1f}  Rx     {ident(m, 8)}  {m.dlc}  {body(m)} \r\n")
            if i == 10:
                f.write(f"{i + 1:6}) {off:11.1f}  Warng  FFFFFFFF  4  00 00 00 08  BUSHEAVY \r\n")
    write_expected("peak-1.1.trc", canonical(classic, start=T0, channel_of=lambda m: 0))
    with open(os.path.join(HERE, "peak-1.3.trc"), "w") as f:
        f.write(f";$FILEVERSION=1.3\n;$STARTTIME={TRC_START_DAYS}\n;   Message Number\n")
        for i, m in enumerate(classic):
            off = (m.timestamp - T0) * 1000
            f.write(f"{i + 1:6}) {off:13.3f} {m.channel + 1}  Rx  {ident(m, 8)} -  {m.dlc}    {body(m)}\n")
    write_expected("peak-1.3.trc", canonical(classic, start=T0, channel_of=lambda m: m.channel))
    with open(os.path.join(HERE, "peak-2.0.trc"), "w") as f:
        f.write(f";$FILEVERSION=2.0\n;$STARTTIME={TRC_START_DAYS}\n;$COLUMNS=N,O,T,I,d,l,D\n;\n")
        for i, m in enumerate(msgs):
            off = (m.timestamp - T0) * 1000
            kind = "RR" if m.is_remote_frame else "DT"
            if m.is_fd:
                kind = {(0, 0): "FD", (1, 0): "FB", (0, 1): "FE", (1, 1): "BI"}[
                    (m.bitrate_switch, m.error_state_indicator)]
            f.write(f"{i + 1:7} {off:13.3f} {kind} {ident(m, 8)} Rx {m.dlc:<2} {'' if m.is_remote_frame else hexdata(m)}\n")
            if i == 7:
                f.write(f"{i + 1:7} {off:13.3f} ST          Rx    00 00 00 08\n")
    write_expected("peak-2.0.trc", canonical(msgs, start=T0, channel_of=lambda m: 0))


def blf():
    msgs = messages(400, 7, fd=True, channels=(0, 1, 2))
    path = os.path.join(HERE, "vector.blf")
    # Small containers, so that objects span container boundaries.
    with can.BLFWriter(path, max_container_size=1000) as w:
        for m in with_error_frames(msgs):
            w.on_message_received(m)
    reader = can.BLFReader(path)
    write_expected("vector.blf", canonical(list(reader), start=reader.start_timestamp))

    # Object kinds python-can doesn't write: CAN_MESSAGE2, CAN_FD_MESSAGE_64, header version 2,
    # 10 µs time units, an object of another type; one stored and one compressed container.
    rnd = random.Random(8)
    objects = []
    for i in range(60):
        kind = i % 4
        header_version = 2 if i % 3 == 0 else 1
        flags = 1 if i % 2 == 0 else 2
        stamp = (i * 1234 + 5) if flags == 1 else (i * 12345000 + 9)  # sub-µs parts far from 0.5
        ident = rnd.randrange(0x800) | (0x80000000 if i % 5 == 0 else 0)
        if kind == 0:
            typ, data = 86, struct.pack("<HBBL8sLBBH", 1 + i % 2, 0, 8, ident,
                                       bytes(rnd.randrange(256) for _ in range(8)), 0, 0, 0, 0)
        elif kind == 1:
            n = rnd.choice([8, 12, 64])
            payload = bytes(rnd.randrange(256) for _ in range(n))
            fl = 0x1000 | (0x2000 if i % 2 else 0) | (0x4000 if i % 3 == 0 else 0)
            typ, data = 101, struct.pack("<BBBBLLLLLLLHBBL", 1, len2dlc(n), n, 0, ident, 0, fl,
                                         0, 0, 0, 0, 0, 0, 0, 0) + payload
        elif kind == 2:
            typ, data = 65, b"application text object" + bytes(9)
        else:
            typ, data = 1, struct.pack("<HBBL8s", 2, 0x80 if i % 7 == 3 else 0, 3, ident, b"\x11\x22\x33" + bytes(5))
        if header_version == 1:
            header = struct.pack("<4sHHLL", b"LOBJ", 32, 1, 32 + len(data), typ) + struct.pack("<LHHQ", flags, 0, 0, stamp)
        else:
            header = struct.pack("<4sHHLL", b"LOBJ", 40, 2, 40 + len(data), typ) + struct.pack("<LBxHQQ", flags, 0, 0, stamp, 0)
        obj = header + data
        objects.append(obj + bytes(len(obj) % 4))
    stream = b"".join(objects)
    half = len(stream) // 2 + 7  # the container boundary falls inside an object
    containers = []
    for method, part in ((0, stream[:half]), (2, zlib.compress(stream[half:]))):
        size = 32 + len(part)
        uncompressed = half if method == 0 else len(stream) - half
        containers.append(struct.pack("<4sHHLL", b"LOBJ", 16, 1, size, 10) +
                          struct.pack("<H6xL4x", method, uncompressed) + part + bytes(size % 4))
    body = b"".join(containers)
    start = (2021, 3, 1, 14, 15, 16, 17, 456)  # year, month, weekday, day, hour, minute, second, ms
    header = struct.pack("<4sLBBBBBBBBQQLL8H8H", b"LOGG", 144, 5, 0, 0, 0, 2, 6, 8, 1, 144 + len(body),
                         144 + len(stream), 60, 0, *start, *start)
    path = os.path.join(HERE, "vector-kinds.blf")
    open(path, "wb").write(header + bytes(144 - len(header)) + body)
    reader = can.BLFReader(path)
    write_expected("vector-kinds.blf", canonical(list(reader), start=reader.start_timestamp))


def real_logs(folder):
    def fnv(lines):
        h = 0xcbf29ce484222325
        for b in "".join(lines).encode():
            h = ((h ^ b) * 0x100000001b3) & 0xFFFFFFFFFFFFFFFF
        return h
    out = []
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        if name.endswith(".log"):
            plain = "".join(l for l in open(path) if l.strip() and not l.startswith("#"))
            lines = canonical(can.CanutilsLogReader(io.StringIO(plain)), channel_of=lambda m: 0)
        elif name.endswith(".trc"):
            lines = canonical(can.TRCReader(path), channel_of=lambda m: 0)
        else:
            continue
        out.append(f"{name} {len(lines)} {fnv(lines):016x}\n")
    open(os.path.join(HERE, "real-logs.digest"), "w").writelines(out)


if __name__ == "__main__":
    os.makedirs(EXPECTED, exist_ok=True)
    candump()
    asc()
    trc()
    blf()
    real_logs(sys.argv[1] if len(sys.argv) > 1 else os.path.join(HERE, "../../../../shared/data/can-logs"))
