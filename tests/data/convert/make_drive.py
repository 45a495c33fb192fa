#!/usr/bin/python3
"""Writes drive.dbc, drive.log (candump -l) and drive.expected.csv for
tst_convert: a made-up drive of four messages (11- and 29-bit ids, both byte
orders, signed fields, a multiplexer), short, remote and 12-byte CAN FD
frames, unknown ids, and two frames of one time on can0 and can1.

Frames are read back by python-can, values decoded by canmatrix. A signal
gives a sample when its bits lie within the data (multiplexed: when the switch
has its value); value = raw * factor + offset in double precision.

Run in this folder with Debian's interpreter: /usr/bin/python3 make_drive.py
"""
import contextlib
import random
import sys

import can
import canmatrix
import canmatrix.formats

# name, start bit (DBC numbering), length, Motorola, signed, factor, offset, unit, mux
MESSAGES = {
    (0x123, False): ("ENGINE", [("RPM", 0, 16, False, False, "0.25", "0", "rpm", None),
                                ("COOLANT", 16, 8, False, False, "1", "-40", "degC", None),
                                ("TORQUE", 24, 12, False, True, "0.5", "0", "Nm", None)]),
    (0x1D0, False): ("WHEELS", [("SPEED_FL", 7, 16, True, False, "0.01", "0", "km/h", None),
                                ("ACCEL", 23, 12, True, True, "0.02", "0", "m/s2", None)]),
    (0x18FEF100, True): ("CCVS", [("VEHICLE_SPEED", 8, 16, False, False, "0.00390625", "0", "km/h", None),
                                  ("BRAKE", 28, 2, False, False, "1", "0", "", None)]),
    (0x300, False): ("BATTERY", [("PAGE", 0, 8, False, False, "1", "0", "", "M"),
                                 ("VOLTAGE", 8, 16, False, True, "0.1", "5", "V", 0),
                                 ("CURRENT", 8, 16, False, False, "1", "-32768", "A", 1)]),
}


def dbc_text():
    lines = ['VERSION ""', "", "BU_: ECU", ""]
    for (frame_id, extended), (name, signals) in MESSAGES.items():
        lines.append("BO_ %d %s: 8 ECU" % (frame_id | (0x80000000 if extended else 0), name))
        for s_name, start, length, motorola, signed, factor, offset, unit, mux in signals:
            mux_text = "" if mux is None else (" M" if mux == "M" else " m%d" % mux)
            lines.append(' SG_ %s%s : %d|%d@%d%s (%s,%s) [0|0] "%s" ECU' % (
                s_name, mux_text, start, length, 0 if motorola else 1, "-" if signed else "+", factor, offset,
                unit))
        lines.append("")
    return "\n".join(lines) + "\n"


def last_byte(start, length, motorola):
    """The byte of the signal's last bit: Motorola goes from bit 0 of a byte to bit 7 of the next."""
    if not motorola:
        return (start + length - 1) // 8
    for _ in range(length - 1):
        start = start + 15 if start % 8 == 0 else start - 1
    return start // 8


def write_log():
    random.seed(7)
    t0 = 1674148739212264
    frames = []  # (time_us, interface, id text, data text)
    hex8 = lambda: bytes(random.randrange(256) for _ in range(8)).hex().upper()
    for i in range(200):
        t = t0 + i * 10000 + random.randrange(-200, 200)
        data = bytes(random.randrange(256) for _ in range(8))
        frames.append((t, "can0", "123", (data[:2] if i % 37 == 5 else data).hex().upper()))  # RPM only
    for i in range(100):
        t = t0 + 3000 + i * 20000 + random.randrange(-300, 300)
        frames.append((t, "can0", "1D0", hex8()))
        if i == 40:  # the same time on the other interface
            frames.append((t, "can1", "123", hex8()))
    frames += [(t0 + 7000 + i * 100000, "can0", "18FEF100", hex8()) for i in range(20)]
    for i in range(40):
        data = bytes([i % 3]) + bytes(random.randrange(256) for _ in range(7))
        frames.append((t0 + 9000 + i * 50000, "can0", "300", data.hex().upper()))
    frames += [(t0 + 1500 + i * 66000, "can0", "7E8", "02410C0000000000") for i in range(30)]
    frames += [(t0 + 555555, "can0", "123", "R"), (t0 + 777777, "can0", "123", "#1" + "11" * 12)]
    frames.sort(key=lambda f: f[0])  # stable: the can0 frame stays before the can1 one
    with open("drive.log", "w") as log:
        for t, interface, frame_id, data in frames:
            log.write("(%d.%06d) %s %s#%s\n" % (t // 1000000, t % 1000000, interface, frame_id, data))


def main():
    with open("drive.dbc", "w") as f:
        f.write(dbc_text())
    write_log()
    with contextlib.redirect_stdout(sys.stderr):
        db = canmatrix.formats.loadp_flat("drive.dbc")
    rows, first = [], None
    for msg in can.LogReader("drive.log"):
        us = round(msg.timestamp * 1e6)
        first = us if first is None else first
        key = (msg.arbitration_id, msg.is_extended_id)
        if msg.is_remote_frame or len(msg.data) > 8 or key not in MESSAGES:
            continue
        name, signals = MESSAGES[key]
        frame = db.frame_by_id(canmatrix.ArbitrationId(msg.arbitration_id, extended=msg.is_extended_id))
        decoded = frame.unpack(bytes(msg.data) + bytes(8 - len(msg.data)))
        switch = None
        for s_name, start, length, motorola, signed, factor, offset, unit, mux in signals:
            fits = last_byte(start, length, motorola) < len(msg.data)
            raw = decoded[s_name].raw_value
            if mux == "M":
                switch = raw if fits else None
            elif mux is not None and switch != mux:
                continue
            if not fits:
                continue
            value = float(raw) * float(factor) + float(offset)
            assert abs(value - float(decoded[s_name].phys_value)) <= 1e-9 * max(1.0, abs(value))
            rows.append(((us - first) / 1e6, name + "." + s_name, value, float(raw), unit))
    with open("drive.expected.csv", "w") as out:
        out.write("time_s,name,value,raw,unit\n")
        out.writelines("%r,%s,%r,%r,%s\n" % row for row in rows)
    print("%d samples" % len(rows), file=sys.stderr)


if __name__ == "__main__":
    main()
