#!/usr/bin/env python3
"""A server that answers one client, whatever it asks, with bytes in hex, and closes.

use: answer.py PORTFILE HEX...    one answer for each request
"""

import os
import socket
import sys

with socket.create_server(("127.0.0.1", 0)) as listener:
    part = sys.argv[1] + ".part"
    with open(part, "w") as file:
        file.write(f"{listener.getsockname()[1]}\n")
    os.replace(part, sys.argv[1])
    client, _ = listener.accept()
    with client:
        for answer in sys.argv[2:]:
            if not client.recv(65536):
                break
            client.sendall(bytes.fromhex(answer))
        client.shutdown(socket.SHUT_WR)
        while client.recv(65536):
            pass
