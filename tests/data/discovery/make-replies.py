#!/usr/bin/env python3
"""Writes the DNS reply files of the discovery tests as annotated hex.

The section counts and compression pointers are written in the byte order of a little-endian
processor, which is how the reply reader takes them; a pointer's target must then lie at an
offset whose low byte has both top bits set (0xC0 = 192 is the first). Every reply starts with a
padding question so that the service name of the second question lies at 192, where the
answers' pointers reach it. Run it from this folder; the files are checked in.
"""

SERVICE = ["_http", "_tcp", "example", "test"]
NAME_AT = 0xC0


def le16(value):
    return bytes([value & 0xFF, value >> 8])


def be16(value):
    return bytes([value >> 8, value & 0xFF])


def labels(parts, end=True):
    out = b""
    for part in parts:
        data = part.encode() if isinstance(part, str) else part
        out += bytes([len(data)]) + data
    return out + (b"\0" if end else b"")


def pointer(offset):
    assert offset & 0xC0 == 0xC0
    return bytes([offset & 0xFF, (offset >> 8) & 0x3F])


def record(owner, rtype, data, rdlength=None):
    length = len(data) if rdlength is None else rdlength
    return owner + be16(rtype) + be16(1) + b"\0\0\x0e\x10" + be16(length) + data


class Reply:
    def __init__(self, answers, questions=2, name=SERVICE):
        self.chunks = []
        self.add("header: id, flags, counts of questions and answers as the reader takes them",
                 b"\x12\x34\x81\x80" + le16(questions) + le16(answers) + b"\0\0\0\0")
        pad = NAME_AT - 12 - 4 - 1
        parts = []
        while pad > 0:
            size = min(pad - 1, 40)
            parts.append("p" * size)
            pad -= size + 1
        self.add("padding question", labels(parts) + be16(12) + be16(1))
        assert self.size() == NAME_AT
        if questions > 1:
            self.add("question at 192: " + ".".join(name), labels(name) + be16(12) + be16(1))

    def size(self):
        return sum(len(data) for _, data in self.chunks)

    def add(self, comment, data):
        self.chunks.append((comment, data))
        return self

    def write(self, path, summary):
        with open(path, "w") as out:
            out.write("# " + summary + "\n")
            for comment, data in self.chunks:
                out.write("# " + comment + "\n")
                for i in range(0, len(data), 16):
                    out.write(" ".join("%02x" % b for b in data[i:i + 16]) + "\n")


TO_NAME = pointer(NAME_AT)
INSTANCE = ["Office Printer"] + SERVICE

Reply(2).add("PTR: Office Printer, in line",
             record(TO_NAME, 12, labels(INSTANCE))).add(
    "PTR: Lab, in line", record(TO_NAME, 12, labels(["Lab"] + SERVICE))).write(
    "browse-two-instances.hex", "A browse reply with two instances, their names in line.")

Reply(2, name=INSTANCE).add(
    "SRV: priority 0, weight 0, port 8080, target host.example.test",
    record(TO_NAME, 33, b"\0\0\0\0" + be16(8080) + labels(["host", "example", "test"]))).add(
    "TXT: two strings, last in the reply",
    record(TO_NAME, 16, labels(["path=/print", "note=two"], end=False))).write(
    "resolve-srv-txt.hex", "A resolve reply: an SRV record, then the TXT record at the reply's end.")

Reply(1, name=INSTANCE).add(
    "TXT only", record(TO_NAME, 16, labels(["path=/print"], end=False))).write(
    "resolve-txt-only.hex", "A resolve reply with a TXT record and no SRV record.")

Reply(2, name=INSTANCE).add(
    "TXT: one string, then the next record's owner in line",
    record(TO_NAME, 16, labels(["a=1"], end=False))).add(
    "A record owned by x", record(labels(["x"]), 1, b"\x0a\0\0\x01")).write(
    "txt-runs-into-next-record.hex", "A TXT record whose read runs on into the next record.")

Reply(2).add("PTR: Printer, then a pointer",
             record(TO_NAME, 12, labels(["Printer"], end=False) + TO_NAME)).add(
    "PTR: Second, then a pointer",
    record(TO_NAME, 12, labels(["Second"], end=False) + TO_NAME)).write(
    "ptr-labels-then-pointer.hex",
    "Two PTR records whose names end in a pointer; the second is read one byte early.")

# A at 0x1C0 points to B at 0x2C0, which points back to A.
loop = Reply(1)
loop.add("PTR whose name jumps to 0x1C0", record(TO_NAME, 12, pointer(0x1C0)))
loop.add("zeros up to 0x1C0", b"\0" * (0x1C0 - loop.size()))
loop.add("at 0x1C0: label a, then a pointer to 0x2C0", labels(["a"], end=False) + pointer(0x2C0))
loop.add("zeros up to 0x2C0", b"\0" * (0x2C0 - loop.size()))
loop.add("at 0x2C0: label b, then a pointer back to 0x1C0",
         labels(["b"], end=False) + pointer(0x1C0))
loop.write("pointer-loop.hex", "A PTR name whose pointers go round between two places.")

Reply(1).add("SRV cut after its weight",
             record(TO_NAME, 33, b"\0\0\0\0", rdlength=8)).write(
    "truncated-record.hex", "An SRV record cut short before its port.")

Reply(1, name=INSTANCE).add(
    "TXT whose string claims 60 bytes and has 5",
    record(TO_NAME, 16, bytes([60]) + b"a=bcd", rdlength=61)).write(
    "txt-length-past-end.hex", "A TXT string whose length runs past the reply's end.")

Reply(1).add("PTR whose name has 300 labels of one letter",
             record(TO_NAME, 12, labels(["x"] * 300))).write(
    "name-300-labels.hex", "A PTR name of 300 labels, in line.")

Reply(1).add("PTR whose name has a label of 64 bytes",
             record(TO_NAME, 12, labels(["y" * 64] + SERVICE))).write(
    "label-too-long.hex", "A PTR name with a label longer than the label buffer.")

network = Reply(2)
network.chunks[0] = ("header with the counts in network order",
                     b"\x12\x34\x81\x80" + be16(2) + be16(2) + b"\0\0\0\0")
network.add("PTR: Office Printer, in line", record(TO_NAME, 12, labels(INSTANCE))).write(
    "network-order-counts.hex",
    "The counts in network order, which the reader takes as 512 questions and answers.")


def server_reply(question_name, qtype, answers, answer_count_bytes):
    """A whole reply that the C library's resolver accepts and this system's reader reads too:
    the question count is 1 in network order, which the reader takes as 256, so 255 questions of
    four bytes (a root name, type and class halves) follow the real one; the answer count's bytes
    are chosen to be non-zero in network order and the number of answers in the reader's."""
    reply = Reply.__new__(Reply)
    reply.chunks = []
    reply.add("header: id 0 (the server puts the query's), flags, 1 question, answers " +
              answer_count_bytes.hex(" "),
              b"\0\0\x81\x80\0\x01" + answer_count_bytes + b"\0\0\0\0")
    reply.add("the question, as asked", labels(question_name) + be16(qtype) + be16(1))
    reply.add("255 questions of four bytes each, for the reader", b"\0\0\0\0" * 255)
    for comment, data in answers:
        reply.add(comment, data)
    assert reply.size() <= 1500
    return reply


SERVER_INSTANCE = ["Office", "_http", "_tcp", "example", "test"]
server_reply(["_http", "_tcp", "example", "test"], 12, [
    ("PTR: Office._http._tcp.example.test",
     record(labels(SERVICE), 12, labels(SERVER_INSTANCE)))], b"\x01\x00").write(
    "server-browse.hex", "What the test's server answers to the PTR query of a browse.")
server_reply(SERVER_INSTANCE, 255, [
    ("SRV: port 8080, target host.example.test",
     record(labels(SERVER_INSTANCE), 33,
            b"\0\0\0\0" + be16(8080) + labels(["host", "example", "test"]))),
    ("TXT: two strings, last in the reply",
     record(labels(SERVER_INSTANCE), 16, labels(["path=/print", "note=two"], end=False)))],
    b"\x02\x00").write(
    "server-resolve.hex", "What the test's server answers to the ANY query of a resolve.")
