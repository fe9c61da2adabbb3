#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the seed corpora of the fuzz targets from the golden telegrams of tests/srl/test_golden.cpp,
the INI files of fuzz/ini/corpus, the short capture of tests/trace and the demo's script. Run from the repository root: python3 fuzz/make_corpus.py"""
import os
import shutil
import struct


def tel(fields):
    t = bytearray(256)
    for off, hexes in fields.items():
        b = bytes.fromhex(hexes)
        t[off:off + len(b)] = b
    return bytes(t)


INIT = tel({0: "23 01 01 00 01 00 01 00", 8: "00 00 00 00", 12: "31 F0 02 93 2E 00", 18: "00 00",
            20: "00 00 00 00", 255: "01"})
READ_MESSAGES = tel({0: "23 02 01 00 01 00 00 00", 12: "31 F0 02 93 2E 00", 18: "00 00", 20: "00 02 00 0F",
                     24: "00 01 00 03 00 00 00 07", 32: "23 29 02 13 00 01 14", 255: "02"})
EXCHANGE_CFG = tel({0: "23 03 01 00 01 00 00 00", 12: "31 F0 02 93 2E 00", 20: "00 03 00 16",
                    24: "00 02 00 03 00 00 00 0E", 32: "23 28 02 13 14 02 00 00 00 00 00 32 00 00", 255: "03"})
ROBOT_DATA = tel({0: "23 04 01 00 01 00 00 00", 20: "00 04 00 0C", 24: "00 03 00 03 00 00 00 04",
                  32: "23 2A 02 13", 255: "04"})
ENABLE = tel({0: "23 05 01 00 01 00 00 00", 20: "00 05 00 10", 24: "00 04 00 03 00 00 00 08",
              32: "03 E8 02 13 01 00 00 00", 255: "05"})
IDLE6 = tel({0: "23 06 01 00 01 00 00 00", 20: "00 06 00 00", 255: "06"})
MOVE7 = tel({0: "23 07 01 00 01 00 00 00", 20: "00 07 00 58", 24: "00 05 00 03 00 00 00 50",
             32: "08 35 00 13", 36: "00 00 00 00 00 00", 42: "27 10 13 88 FF FF FF FF", 50: "01 00",
             52: "00 00 00 00 00 00 00 00", 60: "41 20 00 00 C2 B4 00 00 3F 80 00 00", 255: "07"})
IDLE8 = tel({0: "23 08 01 00 01 00 00 00", 20: "00 08 00 00", 255: "08"})
HANDSHAKE = [INIT, READ_MESSAGES, EXCHANGE_CFG, ROBOT_DATA]

# Robot->PLC answers the golden tests expect (no optional cyclic blocks).
ANSWERS = [
    tel({0: "23 10 00 FF", 4: "00 10 00 00", 8: "27 10", 10: "00 00 00 00", 255: "10"}),
    tel({0: "23 20 00 FF", 4: "00 10 00 00", 8: "27 10", 10: "00 02 00 B2", 14: "00 01 00 05 00 00 00 AA",
         22: "14 00 00 00", 26: "00 01 00 00", 255: "20"}),
    tel({0: "23 30 00 FF", 4: "00 10 00 00", 8: "27 10", 10: "00 03 00 26", 14: "00 02 00 05 00 00 00 1E",
         22: "14 00 00 00", 26: "01 00 00 32", 30: "13 13 13 00", 44: "40 00", 255: "30"}),
    tel({0: "23 40 00 FF", 4: "00 10 00 00", 8: "27 10", 10: "00 04 00 8E", 14: "00 03 00 05 00 00 00 86",
         22: "1A 00 00 00", 26: "74 65 73 74 52 43 4D", 110: "01 00 00", 114: "7E 00 00 00",
         118: "FE FF FF 0F 60 00 80 01 00 03", 138: "53 52 4C 5F 49 6E 74 65 72 70 52 6F 62", 154: "00 04",
         255: "40"}),
    tel({0: "23 50 00 FF", 4: "00 11 00 00", 8: "27 10", 10: "00 05 00 12", 14: "00 05 00 05 00 00 00 0A",
         22: "12 00 00 00", 255: "50"}),
    tel({0: "23 70 00 FF", 4: "00 10 00 00", 8: "27 10", 10: "00 07 00 12", 14: "00 05 00 05 00 00 00 0A",
         22: "1A 00 00 00", 26: "00 00 00 00 27 10", 255: "70"}),
]

TICK = 0x0F  # 128 cycles with the lifesign ticking
HOLD = 0x07  # 128 cycles, lifesign standing still


def adapter_records(records):
    return b"".join(bytes([control]) + t for control, t in records)


def pcapng_block(kind, body):
    body += b"\x00" * (-len(body) % 4)
    length = 12 + len(body)
    return struct.pack("<II", kind, length) + body + struct.pack("<I", length)


def udp_frame(src, dst, payload):
    """An Ethernet/IPv4/UDP frame on 127.0.0.1, as pnio-sim's recorder writes each telegram."""
    ip = bytearray(struct.pack(">BBHHHBBH4s4s", 0x45, 0, 28 + len(payload), 0, 0, 64, 17, 0, bytes([127, 0, 0, 1]),
                               bytes([127, 0, 0, 1])))
    total = sum(struct.unpack(">10H", bytes(ip)))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    ip[10:12] = struct.pack(">H", ~total & 0xFFFF)
    return b"\x00" * 12 + b"\x08\x00" + bytes(ip) + struct.pack(">HHHH", src, dst, 8 + len(payload), 0) + payload


def trace(frames):
    """A telegram trace: section header, one Ethernet interface in microseconds, a frame every 4 ms."""
    shb = pcapng_block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1))
    idb = pcapng_block(1, struct.pack("<HHI", 1, 0, 262144) + struct.pack("<HHB", 9, 1, 6) + b"\x00" * 3 +
                       struct.pack("<HH", 0, 0))
    packets = b""
    for i, frame in enumerate(frames):
        t = 1_764_000_000_000_000 + 4000 * i
        packets += pcapng_block(6, struct.pack("<IIIII", 0, t >> 32, t & 0xFFFFFFFF, len(frame), len(frame)) + frame)
    return shb + idb + packets


PLC, ROBOT, EVENT = 46257, 46256, 46258


def write(target, name, blob):
    d = os.path.join("fuzz", target, "corpus")
    os.makedirs(d, exist_ok=True)
    with open(os.path.join(d, name), "wb") as f:
        f.write(blob)


def main():
    hs = [(0, t) for t in HANDSHAKE]
    write("adapter", "handshake", adapter_records(hs))
    moving = hs + [(0, ENABLE), (TICK, IDLE6), (TICK, IDLE6), (0, MOVE7), (TICK, IDLE8), (TICK, IDLE8)]
    write("adapter", "enable_move_done", adapter_records(moving))
    write("adapter", "move_protective_stop", adapter_records(moving[:-1] + [(0x10 | TICK, IDLE8)]))
    write("adapter", "move_emergency_stop", adapter_records(moving[:-1] + [(0x30 | TICK, IDLE8)]))
    write("adapter", "move_controller_error", adapter_records(moving[:-1] + [(0x50 | TICK, IDLE8)]))
    write("adapter", "move_lifesign_lost", adapter_records(moving[:-1] + [(HOLD, IDLE8)]))

    write("plc_response", "golden_answers", b"\x00\x00" + b"".join(ANSWERS))

    def chunks(ts):
        return b"".join(b"\xff" + t[:255] + b"\x01" + t[255:] for t in ts)
    write("gateway", "handshake", chunks(HANDSHAKE + [ENABLE, IDLE6]))
    write("gateway", "partial_then_gone", b"\x64" + INIT[:100] + b"\x00")
    write("gateway", "more_than_a_telegram", chunks([INIT]) + b"\xff" + READ_MESSAGES[:255])

    header = struct.pack("<IIIIQQIQQ", 2, 0x51584442, 1, 136, 3145728, 1048576, 0, 12, 0)
    write("dualbuff", "valid", b"\x20" + header + b"\x00" * 4 + b"recordrecord")
    write("dualbuff", "overfull", b"\x20" + struct.pack("<IIIIQQIQQ", 2, 0x51584442, 1, 136, 3145728, 1048576, 1,
                                                        12, 1 << 40) + b"\x00" * 4 + b"record")
    write("dualbuff", "truncated", b"\x21" + header + struct.pack("<I", 2000) + b"recordrecord")

    exchange = [udp_frame(EVENT, EVENT, b"\x01127.0.0.1:40000")]
    for plc, robot in zip(HANDSHAKE + [ENABLE], ANSWERS):
        exchange += [udp_frame(PLC, ROBOT, plc), udp_frame(ROBOT, PLC, robot)]
    write("trace", "handshake", trace(exchange))
    write("trace", "gap_then_dropped", trace(exchange[:5] + [udp_frame(EVENT, EVENT, b"\x0212 exchanges"),
                                                             udp_frame(EVENT, EVENT, b"\x00client gone")]))
    write("trace", "damaged_tail", trace(exchange)[:-100])
    write("trace", "short_capture", open("tests/trace/data/short.pcapng", "rb").read())

    write("script", "demo.srci", open("tools/demo/demo.srci", "rb").read())
    write("script", "named_values.srci", b"write-tool tool=1 x=0 y=0 z=100 rx=0 ry=0 rz=0 load=2\n"
          b"move-axes j1=0 j2=10 j3=10 j4=0 j5=70 j6=0 vel=40\njog frame x+ inc=5 duration=200\nsleep ms=100\n"
          b"write-load 1 2.5 0 0 50 ix=0.1\nexchange-config lifesign_timeout=300\nwrite-limits min_j1=-170 max_j1=170\n")

    for name in sorted(os.listdir("fuzz/ini/corpus")):
        write("store", name, open(os.path.join("fuzz/ini/corpus", name), "rb").read())


if __name__ == "__main__":
    main()
