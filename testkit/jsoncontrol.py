# SPDX-License-Identifier: GPL-2.0-or-later
"""Control of the service that withjsonservice.py has started around the calling program."""

import json
import os
import socket


def control(**command) -> dict:
    """Sends a command to the service (commands: jsonservice.py); returns its counters and received requests."""
    ports = json.loads(os.environ["TARVOLINE_JSON_SERVICE"])
    with socket.create_connection(("127.0.0.1", ports["control"])) as connection, connection.makefile("rw") as stream:
        stream.write(json.dumps(command) + "\n")
        stream.flush()
        return json.loads(stream.readline())
