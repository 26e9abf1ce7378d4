#!/usr/bin/env python3
"""Talks with the chat example, whose command is given as arguments, from outside Wine: as server, then as guest."""
import socket
import subprocess
import sys
import threading


def expect(heard, expected, what):
    if heard != expected:
        sys.exit(f"{what}: {heard[:200]!r} instead of {expected[:200]!r}")


def give_back_the_stream(listener):
    connection, _ = listener.accept()
    with connection:
        received = b"".join(iter(lambda: connection.recv(65536), b""))
        connection.sendall(received)


command = sys.argv[1:]
lines = "".join(f"line {number} of many\n" for number in range(50_000)).encode()
with socket.create_server(("127.0.0.1", 0)) as listener:
    threading.Thread(target=give_back_the_stream, args=(listener,), daemon=True).start()
    port = str(listener.getsockname()[1])
    joined = subprocess.run([*command, "127.0.0.1", port], input=lines, stdout=subprocess.PIPE, check=True, timeout=60)
expect(joined.stdout.replace(b"\r\n", b"\n"), lines, "as its server")

room = subprocess.Popen([*command, "0"], stdout=subprocess.PIPE)
port = int(room.stdout.readline().split()[-1])
with socket.create_connection(("127.0.0.1", port), timeout=60) as connection:
    connection.sendall(b"Hello\n/stop\n")
    heard = b"".join(iter(lambda: connection.recv(65536), b""))
expect(heard, b"Welcome, guest 1.\nguest 1: Hello\nguest 1: /stop\n", "as its guest")
expect(room.wait(60), 0, "its end")
