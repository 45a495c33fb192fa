#!/usr/bin/python3
"""Writes civic-expected.txt: the values of some signals of the Honda Civic DBC
in every frame of the civic log, decoded by canmatrix (python3-canmatrix)
from frames read by python-can (python3-can), for tst_dbc to compare with.

Run with Debian's interpreter: /usr/bin/python3 make_civic_expected.py LOGDIR > civic-expected.txt

Per signal one line: id, message, signal, the number of values, the SHA-256
of the values printed with '%.17g' one a line (each line ending in '\n'),
their minimum and maximum, and the first four values. A value is the raw
integer from canmatrix times the factor plus the offset, in double precision
(canmatrix computes in decimal; the two are checked to agree closely).
"""
import contextlib
import hashlib
import sys

import can
import canmatrix
import canmatrix.formats

SIGNALS = [
    (0x158, "XMISSION_SPEED"),          # Motorola 16 bits, factor 0.01
    (0x094, "LONG_ACCEL"),              # 9 bits signed, factor -0.02
    (0x094, "LAT_ACCEL"),               # 10 bits, offset -512
    (0x1D0, "WHEEL_SPEED_FL"),          # 15 bits
    (0x1D0, "WHEEL_SPEED_FR"),          # 15 bits from bit 8
    (0x1D0, "WHEEL_SPEED_RR"),          # 15 bits from bit 42
    (0x094, "CHECKSUM"),                # 4 bits from bit 59
    (0x130, "ENGINE_TORQUE_ESTIMATE"),  # 16 bits signed
    (0x130, "ENGINE_TORQUE_REQUEST"),   # 16 bits signed from bit 23
    (0x17C, "ENGINE_RPM"),              # Motorola 16 bits from bit 23
    (0x17C, "BRAKE_PRESSED"),           # single bit
    (0x17C, "GAS_PRESSED"),             # single bit, the top of byte 4
    (0x17C, "COUNTER"),                 # 2 bits at the end of the frame
    (0x1A4, "USER_BRAKE"),              # 16 bits, binary factor and offset
    (0x1C2, "EPB_STATE"),               # 2 bits with a value table
    (0x1AB, "MOTOR_TORQUE"),            # 10 bits in frames of 3 bytes
]


def g(v):
    return "%.17g" % v


def main():
    logdir = sys.argv[1]
    # canmatrix reports the lines it refuses (ids above 0x7FF without the
    # extended flag) on stdout; they are no part of the output.
    with contextlib.redirect_stdout(sys.stderr):
        db = canmatrix.formats.loadp_flat(logdir + "/honda_civic_hatchback_ex_2017_can.dbc")
    frames = {}
    for msg in can.LogReader(logdir + "/civic-turnonanddrive.log"):
        if not msg.is_remote_frame and not msg.is_error_frame:
            frames.setdefault(msg.arbitration_id, []).append(bytes(msg.data))

    print("# Made by make_civic_expected.py with python3-canmatrix and python3-can")
    print("# id message signal count sha256 min max first four values")
    for frame_id, name in SIGNALS:
        frame = db.frame_by_id(canmatrix.ArbitrationId(frame_id))
        signal = frame.signal_by_name(name)
        factor = float(signal.factor)
        offset = float(signal.offset)
        values = []
        for data in frames[frame_id]:
            decoded = frame.decode(data)[name]
            value = float(decoded.raw_value) * factor + offset
            assert abs(value - float(decoded.phys_value)) <= 1e-9 * max(1.0, abs(value))
            values.append(value)
        digest = hashlib.sha256("".join(g(v) + "\n" for v in values).encode()).hexdigest()
        print("0x%03X %s %s %d %s %s %s %s" % (frame_id, frame.name, name, len(values), digest, g(min(values)),
                                             g(max(values)), " ".join(g(v) for v in values[:4])))
        print("# %s: %d distinct values" % (name, len(set(values))), file=sys.stderr)


if __name__ == "__main__":
    main()
