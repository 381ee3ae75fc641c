#!/usr/bin/python3 -IS
# Stands for ksv-bridge in the benchmarks: answers each message of bridge/PROTOCOL.md at once, with no module behind it.
import json
import struct
import sys

EVENTS = 500
VERSION = {"object": [["pluginRetCode", 0], ["fnRetCode", 0], ["zubVersion", "3.0.0.0"]]}
PIECE = 500 * 1024


def send(message):
    text = json.dumps(message).encode()
    sys.stdout.buffer.write(struct.pack("=I", len(text)) + text)


def answer(message):
    text = json.dumps(message)
    if len(text) <= PIECE:
        send(message)
        return
    pieces = [text[at:at + PIECE] for at in range(0, len(text), PIECE)]
    for number, piece in enumerate(pieces, 1):
        send({"piece": number, "of": len(pieces), "text": piece})


def take(message):
    if "hello" in message:
        send({"hello": 1, "host": "answering"})
        return
    value = VERSION
    if message.get("name") == "zubRegisterEventCallback":
        function = message["arguments"][1]["function"]
        for event in range(EVENTS):
            send({"run": function, "arguments": [event]})
    elif message.get("name") == "wysStatusToString":
        value = "a" * message["arguments"][0]
    answer({"n": message["n"], "value": value})


while len(head := sys.stdin.buffer.read(4)) == 4:
    take(json.loads(sys.stdin.buffer.read(struct.unpack("=I", head)[0])))
    sys.stdout.buffer.flush()
