#!/usr/bin/env python3
"""Serves the test program given as arguments from outside Wine, runs it and judges by its last words.

It sends back what comes to it, on TCP connections until their end and as datagrams to the same port.
"""
import os
import socket
import subprocess
import sys
import threading


def serve(connection):
    with connection:
        while data := connection.recv(65536):
            connection.sendall(data)


def accept(listener):
    while True:
        connection, _ = listener.accept()
        threading.Thread(target=serve, args=(connection,), daemon=True).start()


def reflect(datagrams):
    while True:
        data, peer = datagrams.recvfrom(65536)
        datagrams.sendto(data, peer)


listener = socket.create_server(("127.0.0.1", 0))
port = listener.getsockname()[1]
datagrams = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
datagrams.bind(("127.0.0.1", port))
threading.Thread(target=accept, args=(listener,), daemon=True).start()
threading.Thread(target=reflect, args=(datagrams,), daemon=True).start()
sys.stdout.flush()
result = subprocess.run(sys.argv[1:], env={**os.environ, "ZELK_PEER_PORT": str(port)}, check=False)
sys.exit(result.returncode)
