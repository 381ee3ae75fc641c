#!/usr/bin/python3 -IS
# Takes the place of ksv-bridge in the benchmarks: answers each message of bridge/PROTOCOL.md at once, with no module behind it.
import base64
import json
import os
import struct
import sys

registered = []  # The name and the page's function's number of each listener.
VERSION = {"object": [["pluginRetCode", 0], ["fnRetCode", 0], ["zubVersion", "3.0.0.0"]]}
PIECE = 500 * 1024
EVENT = base64.b64encode(b'{"event":"applet-installed","applet":"8D67D9DD2AF54717AFF2FF7EF19DFADB"}').decode()


def send(message):
    text = json.dumps(message).encode()
    sys.stdout.buffer.write(struct.pack("=I", len(text)) + text)
    sys.stdout.buffer.flush()


def answer(message):
    text = json.dumps(message)
    if len(text) <= PIECE:
        send(message)
        return
    pieces = [text[at:at + PIECE] for at in range(0, len(text), PIECE)]
    for number, piece in enumerate(pieces, 1):
        send({"piece": number, "of": len(pieces), "text": piece})


# Writes a file, as the reference agent library does for an applet.
def install():
    folder = os.environ["KSV_AGENT_HOME"]
    os.makedirs(folder, exist_ok=True)
    path = os.path.join(folder, "answering")
    with open(path + ".new", "wb") as file:
        file.write(bytes(200))
    os.replace(path + ".new", path)


def take(message):
    if "hello" in message:
        send({"hello": 1, "host": "answering"})
        return
    value = VERSION
    if message.get("name") == "zubRegisterEventCallback":
        name, function = message["arguments"]
        registered.append((name, function["function"]))
    elif message.get("name") == "zubInstall":
        install()
        for name, function in registered:
            send({"run": function, "arguments": [{"object": [["appName", name], ["dataSrc", 3], ["b64Data", EVENT]]}]})
    elif message.get("name") == "wysStatusToString":
        value = "a" * message["arguments"][0]
    answer({"n": message["n"], "value": value})


while len(head := sys.stdin.buffer.read(4)) == 4:
    take(json.loads(sys.stdin.buffer.read(struct.unpack("=I", head)[0])))
