# SPDX-License-Identifier: GPL-2.0-or-later
"""A client of obs-websocket for inputs, scenes and pictures."""

import base64
import json

import websocket

from teststream import Picture

_RPC_VERSION = 1
_REPLY_TIMEOUT_S = 60

# Opcodes of the obs-websocket protocol, version 5.
_IDENTIFY, _IDENTIFIED, _REQUEST, _REQUEST_RESPONSE = 1, 2, 6, 7


class RequestFailed(Exception):
    """OBS rejected a request; `code` is obs-websocket's status code."""

    def __init__(self, request, code, comment):
        super().__init__(f"{request}: {code} {comment}")
        self.code = code


class Remote:
    """One connection to the obs-websocket server of a session."""

    def __init__(self, port: int):
        self._socket = websocket.create_connection(
            f"ws://127.0.0.1:{port}", timeout=_REPLY_TIMEOUT_S, enable_multithread=False)
        self._count = 0
        self._receive()
        # Without event subscriptions every message is a response.
        self._send(_IDENTIFY, {"rpcVersion": _RPC_VERSION, "eventSubscriptions": 0})
        if self._receive()["op"] != _IDENTIFIED:
            raise RuntimeError("obs-websocket rejected the client")

    def close(self):
        """Ends the connection."""
        self._socket.close()

    def call(self, request: str, **data) -> dict:
        """Sends one request and returns its response data; raises RequestFailed when OBS rejects it."""
        self._count += 1
        wanted = str(self._count)
        self._send(_REQUEST, {"requestType": request, "requestId": wanted, "requestData": data})
        while True:
            message = self._receive()
            if message["op"] == _REQUEST_RESPONSE and message["d"]["requestId"] == wanted:
                break
        status = message["d"]["requestStatus"]
        if not status["result"]:
            raise RequestFailed(request, status["code"], status.get("comment", ""))
        return message["d"].get("responseData") or {}

    def inputs(self) -> dict:
        """The kind of each input by its name."""
        return {entry["inputName"]: entry["inputKind"] for entry in self.call("GetInputList")["inputs"]}

    def settings(self, name: str) -> dict:
        """The settings of an input that differ from its kind's defaults."""
        return self.call("GetInputSettings", inputName=name)["inputSettings"]

    def current_scene(self) -> str:
        """The name of the scene in the program."""
        return self.call("GetCurrentProgramScene")["currentProgramSceneName"]

    def items(self, scene: str | None = None) -> list:
        """The source names of a scene's items, one for each item."""
        scene = scene or self.current_scene()
        return [item["sourceName"] for item in self.call("GetSceneItemList", sceneName=scene)["sceneItems"]]

    def media_state(self, name: str) -> str:
        """The state of a media source, for example "OBS_MEDIA_STATE_PLAYING"."""
        return self.call("GetMediaInputStatus", inputName=name)["mediaState"]

    def picture(self, source: str) -> Picture | None:
        """The source's current picture, or None."""
        try:
            reply = self.call("GetSourceScreenshot", sourceName=source, imageFormat="ppm")
        except RequestFailed:
            return None
        return Picture.from_ppm(base64.b64decode(reply["imageData"].split(",", 1)[1]))

    def _send(self, opcode, data):
        self._socket.send(json.dumps({"op": opcode, "d": data}))

    def _receive(self) -> dict:
        return json.loads(self._socket.recv())
