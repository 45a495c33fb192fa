#!/usr/bin/python3
"""Writes the generated seeds of the harnesses (data files, recorder logs,
settings, DBC, driver configurations) by their byte layouts, and copies the
repository's own examples and test logs. Run from anywhere; it writes beside
itself."""
import os
import shutil
import struct

here = os.path.dirname(os.path.abspath(__file__))
root = os.path.dirname(os.path.dirname(here))


def put(folder, name, data):
    os.makedirs(os.path.join(here, folder), exist_ok=True)
    with open(os.path.join(here, folder, name), "wb") as f:
        f.write(data.encode() if isinstance(data, str) else data)


def text(s):
    return s.encode().ljust(256, b"\0")


def axis(lo, hi, step, visible, grid):
    return struct.pack("<3d2B6x", lo, hi, step, visible, grid)


def curve(name, points, flags=1):
    head = struct.pack("<ii", 0, 1096) + text("#ff0000") + text(name)
    head += struct.pack("<7i4x2d", 0, 2, 0x20000100, 1, 3, 255, 0, 2.0, -1.0) + text("km/h")
    head += struct.pack("<4i4di", 0, 1, len(points), flags, 0.0, 100.0, 0.0, 50.0, 1) + bytes(220)
    xs = b"".join(struct.pack("<d", p[0]) for p in points)
    ys = b"".join(struct.pack("<d", p[1]) for p in points)
    return head + xs + ys


# Data files: current, middle and oldest version.
pts = [(2.5, 7.0), (2.0, 6.0), (1.0, 5.0)]
current = struct.pack("<iiddIi", 0, 96, 100.0, 2.5, 5000, 2) + axis(0, 100, 10, 1, 1) + axis(-5, 5, 1, 0, 0)
put("datafile", "current.vtldat", current + curve("speed", pts) + curve("rpm", [(0.0, 1.0)], flags=0))
put("datafile", "middle.vtldat", struct.pack("<iiddIi", 0, 32, 1.0, 2.0, 100, 1) + curve("a", pts))
old = struct.pack("<iidd", 0, 24, 1.0, 2.0)
rec = struct.pack("<ii2d", 0, 840 + 16 * 3, 0, 0) + text("#00ff00") + text("old")
rec += struct.pack("<6i2d", 1, 3, 0x123, 2, 1, 0, 1.5, 0.5) + text("V") + struct.pack("<iI", 1, 2)
put("datafile", "oldest.vtldat", old + rec + struct.pack("<6d", 1, 2, 3, 4, 5, 6))
put("datafile", "empty-config.vtldat", current[:28] + struct.pack("<i", 0) + current[32:])

# Project and settings files as the program writes them.
graph = ('  <Graph0 Id29Bit="0" axis="1" baud="-2147483620" calc="" color="#0000ff" datatype="3" '
         'enable="1" id="0x100" intmot="0" mask="0xFF" name="Speed" name_20="" name_21="1c" net="0" '
         'netstr="0: DEMO_CAN" offset="0" pos="2" raw_value_max="65535" raw_value_min="0" scale="0.01" '
         'style="1" unit="km/h" value_max="655.35" value_min="0"/>\n')
axes = (' <CustomAxis Grid="1" Max="100" Min="0" Show="1" Step="10"/>\n'
        ' <CustomAxis1 Grid="0" Max="5" Min="-5" Show="0" Step="1"/>\n')
put("projectfile", "two-rows.vtlprj",
    '<Vistrel datetime="Mon Jan 1 00:00:00 2024" file="/tmp/a.vtlprj">\n' + graph + graph.replace("Graph0", "Graph1")
    + axes + "</Vistrel>\n")
put("projectfile", "empty.vtlprj", '<Vistrel datetime="x" file="e.vtlprj">\n' + axes + "</Vistrel>\n")
shutil.copy(os.path.join(root, "examples", "demo.vtlprj"), os.path.join(here, "projectfile", "demo.vtlprj"))
put("settingsfile", "vistrelsettings.xml",
    '<Vistrel Antialiasing="0" BackgroundColor="#ffffff" ContinousScoll="1" GridColor="#c0c0c0" '
    'LineWidth="1" Marker1Color="#0000ff" Marker2Color="#0000ff" PlotSize="5000" RefreshTime="250" '
    'datetime="Mon Jan 1 00:00:00 2024"/>\n')
put("settingsfile", "named-colours.xml", '<Other PlotSize="-1" BackgroundColor="white" GridColor="grey"/>')

# Recorder logs: the first byte chooses the form (even binary, odd text).
def frame_record(sec, ms, us, flags, fid, data):
    return struct.pack("<HiHhh10xIBBH", 0, sec, ms, us, flags, fid, len(data), 0, 0) + data.ljust(8, b"\0")


binary = struct.pack("<HI32x", 7, 50) + bytes(12)  # another kind of record, skipped by its length
binary += frame_record(1700000000, 10, 500, -32768, 0x100, b"\x01\x02")
binary += frame_record(1700000000, 20, 0, 0, 0x20000100, b"\x03\x04\x05\x06\x07\x08\x09\x0a")
binary += frame_record(1700000001, 0, 0, 0, 0x40000000, b"")
put("recorderlog", "binary.bin", b"\0" + binary)
lines = ["Nr\tX\tTime\tms\ta\tb\tId\tc\tFlags\tLen\tD0\tD1\tD2\tD3\tD4\tD5\tD6\tD7"]
lines += ["1\t0\t23:59:59\t500.0\t0\t0\t256\t0\t\t2\t01\t02\t\t\t\t\t\t",
          "2\t0\t23:59:59\t900\t0\t0\t256\t0\tL\t8\t1\t2\t3\t4\t5\t6\t7\t8",
          "3\t0\t00:00:00\t100\t0\t0\t291\t0\tR\t4\t\t\t\t\t\t\t\t",
          "4\t0\t00:00:01\t0\t0\t0\t0\t0\tE\t0"]
put("recorderlog", "text.txt", "\x01" + "\r\n".join(lines) + "\r\n")

# DBC: messages, multiplexing, comments, value tables, float signals.
put("dbc", "small.dbc", '''VERSION "1.0"

NS_ :
\tCM_
\tVAL_

BS_:

BU_: ECU DASH

BO_ 291 ENGINE: 8 ECU
 SG_ Speed : 7|16@0+ (0.01,0) [0|655.35] "km/h" DASH
 SG_ Accel : 24|9@0- (-0.02,0) [-20|20] "m/s2" DASH,ECU

BO_ 2566844693 J1939: 8 ECU
 SG_ Sel M : 0|8@1+ (1,0) [0|255] "" DASH
 SG_ A m0 : 8|8@1+ (1,0) [0|0] "" DASH
 SG_ B m12 : 15|16@0- (1,0) [0|0] "" DASH
 SG_ F : 32|32@1- (1,0) [0|0] "" DASH

CM_ "database";
CM_ BO_ 291 "engine
data";
CM_ SG_ 291 Speed "vehicle speed";
VAL_TABLE_ Gears 0 "P" 1 "R" 2 "N" 3 "D";
VAL_ 2566844693 Sel 0 "zero" 12 "twelve";
SIG_VALTYPE_ 2566844693 F : 1;
BA_DEF_ BO_ "GenMsgCycleTime" INT 0 1000;
''')

# Driver configurations: the text, a NUL, then the log that "log" holds.
log = "(1700000000.000000) can0 123#0102\n(1700000000.010000) can1 12345678#R\n(1700000000.5) can0 7FF#\n"
put("driverconfig", "replay.bin", "net 0 replay log speed=0\nnet 1 replay log speed=20 loop=1 channel=1\0" + log)
put("driverconfig", "virtual.bin", "# demo\nnet 2 virtual demo name=BENCH features=Fc,2b,Ts tsfreq=1000\n"
    "net 3 virtual features=0x23 hw=0x0102 fw=7\nnet 4 socketcan can0\n")
put("driverconfig", "refused.bin", "net 5 replay zero\nnet 6 replay fifo\nnet 7 replay .\nnet 300 virtual\n"
    "net 8 replay log speed=-1\0(1.0) can0 123#01\n(9223372035.999999) can0 123#02\n")
put("driverconfig", "trc.bin", "net 9 replay log name=PCAN speed=1e-300\0" + open(
    os.path.join(root, "tests/data/canlogs/peak-2.1.trc")).read())

# The logs of other tools: the test logs as they are.
for name in sorted(os.listdir(os.path.join(root, "tests/data/canlogs"))):
    if name.endswith((".log", ".asc", ".trc", ".blf")):
        os.makedirs(os.path.join(here, "canlogs"), exist_ok=True)
        shutil.copy(os.path.join(root, "tests/data/canlogs", name), os.path.join(here, "canlogs", name))
