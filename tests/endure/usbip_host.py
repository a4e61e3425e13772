"""The driver's side of a scan over USB/IP, without a kernel: one gray page."""
import re
import socket
import struct

IMPORT = struct.pack(">HHI32s", 0x0111, 0x8003, 0, b"1-1")
DEVICE = 0x00010002
REQUESTS, REPLIES, JOB_STREAM = 2, 11, 8  # endpoints
IMAGE_DATA, JOB_END = 0xDD, 0xFF
INTEGER = "<IntegerElem>%d</IntegerElem>"


class Gone(Exception):
    """The server closed the connection, or refused it."""


def element_map(**children):
    return "<MapElem>" + "".join(f'<child name="{name}">{value}</child>' for name, value in children.items()) + "</MapElem>"


def point(x, y):
    return element_map(x=INTEGER % x, y=INTEGER % y)


PARAMETERS = element_map(scanParameters=element_map(
    contentType=INTEGER % 1, bitdepth=INTEGER % 8, resolution=INTEGER % 75,
    scanWindow=element_map(topLeft=point(0, 0), bottomRight=point(637, 876))))


class Host:
    """A connection that has attached the scanner."""

    def __init__(self, port):
        self.sequence = 0
        try:
            self.socket = socket.create_connection(("127.0.0.1", port), timeout=10)
            self.socket.sendall(IMPORT)
            if struct.unpack(">HHI", self._receive(8))[2] != 0:
                raise Gone("the scanner is busy")
            self._receive(312)
        except OSError as error:
            raise Gone(str(error)) from error

    def close(self):
        self.socket.close()

    def _receive(self, count):
        received = b""
        while len(received) < count:
            piece = self.socket.recv(count - len(received))
            if not piece:
                raise Gone("closed")
            received += piece
        return received

    def _submit(self, endpoint, incoming, length, payload=b"", setup=bytes(8)):
        self.sequence += 1
        try:
            command = struct.pack(">10I8s", 1, self.sequence, DEVICE, incoming, endpoint, 0, length, 0, 0, 0, setup)
            self.socket.sendall(command + payload)
            status, actual = struct.unpack(">20xiI20x", self._receive(48))
            if status != 0:
                raise Gone(f"status {status}")
            return self._receive(actual) if incoming else b""
        except OSError as error:
            raise Gone(str(error)) from error

    def _call(self, name, method, *parameters):
        text = (f'<?xml version="1.0"?>\r\n<method name="callMethod" requestID="5"><arg name="objName">{name}</arg>'
                f'<arg name="method">{method}</arg><arg name="params"><ListElem>{"".join(parameters)}</ListElem></arg>'
                "</method>\r\n").encode()
        self._submit(REQUESTS, 0, len(text) + 8, struct.pack(">B3xI", 0xCC, len(text)) + text)
        return self._submit(REPLIES, 1, 512).decode(errors="replace")

    def scan(self):
        """The picture's bytes, with their header."""
        self._submit(0, 0, 0, setup=struct.pack("<BBHHH", 0, 9, 1, 0, 0))  # set the configuration
        self._call("system", "enterHostUSBSendMode", PARAMETERS)
        created = self._call("jobFactory", "create", "<StringElem>HostSendJob</StringElem>", PARAMETERS)
        job = re.search("<StringElem[^>]*>([^<]*)<", created)
        if job is None:
            raise Gone(f"no job: {created}")
        self._call(job[1], "start")
        picture = self._picture()
        self._call(job[1] + ".scanJob", "done")
        self._call("system", "exitHostUSBSendMode")
        return picture

    def _picture(self):
        stream, picture = b"", b""
        while True:
            while len(stream) < 8 or len(stream) < 8 + struct.unpack(">4xI", stream[:8])[0]:
                stream += self._submit(JOB_STREAM, 1, 16384)
            kind, length = struct.unpack(">B3xI", stream[:8])
            if kind == IMAGE_DATA:
                picture += stream[8:8 + length]
            stream = stream[8 + length:]
            if kind == JOB_END:
                return picture
