#!/usr/bin/env python3
"""An independent XML-RPC peer for the interop test, built on Python's xmlrpc.client.

  xmlrpc_peer.py read FILE...   parse each document, print one JSON object per file
  xmlrpc_peer.py write FOLDER   write response, fault and call documents into FOLDER, with
                                the values they hold in FOLDER/expected.json

Values are printed in a tagged form both sides can produce exactly: integers as decimal
text, doubles as the hex of their IEEE bits, byte strings as "sha256:length", structs as
ordered [name, value] pairs.
"""

import datetime
import hashlib
import json
import os
import random
import struct
import sys
import xmlrpc.client


def tagged(value):
    if isinstance(value, bool):
        return {"bool": value}
    if isinstance(value, int):
        return {"int": str(value)}
    if isinstance(value, float):
        return {"double": struct.pack(">d", value).hex()}
    if isinstance(value, str):
        return {"string": value}
    if isinstance(value, xmlrpc.client.DateTime):
        return {"date": value.value}
    if isinstance(value, xmlrpc.client.Binary):
        value = value.data
    if isinstance(value, (bytes, bytearray)):
        return {"bytes": "%s:%d" % (hashlib.sha256(value).hexdigest(), len(value))}
    if isinstance(value, (list, tuple)):
        return {"array": [tagged(v) for v in value]}
    if isinstance(value, dict):
        return {"struct": [[k, tagged(v)] for k, v in value.items()]}
    raise TypeError("cannot tag %r" % type(value))


def read(paths):
    for path in paths:
        with open(path, "rb") as f:
            data = f.read()
        try:
            params, method = xmlrpc.client.loads(data, use_builtin_types=False)
            print(json.dumps({"file": os.path.basename(path), "method": method,
                              "params": tagged(list(params))}))
        except Exception as e:  # the test shows what the peer refused
            print(json.dumps({"file": os.path.basename(path), "error": repr(e)}))


def write(folder):
    rng = random.Random(7)
    blob = bytes(rng.getrandbits(8) for _ in range(100000))
    when = xmlrpc.client.DateTime("20261112T09:07:38")
    documents = {
        "status": ({"SessionID": "8f3c2a9d", "SessionStatus": "sent", "StatusCode": 0,
                    "StatusString": "Method success"},),
        "everything": ({
            "List": [1, "two", 3.5, True, False, [], {}],
            "When": when,
            "Data": xmlrpc.client.Binary(blob),
            "Unicode": "Grüße 日本 \U0001F600",
            "Escapes": "a&b<c>d\"e'f]]>",
            "Empty": "",
            "Nested": {"inner": [{"x": 1, "y": [{"z": "deep"}]}, []]},
            "Large": 1e20,
            "Small": -2.5e-300,
            "Limits": [2147483647, -2147483648],
            "Zebra": 1, "Apple": 2, "Mango": 3,
        },),
        "integer": (42,),
        "string": ("only a string",),
        "double": (0.1,),
        "boolean": (False,),
        "array": ([1, [2, [3, []]]],),
        "bytes": (xmlrpc.client.Binary(b"any carnal pleas"),),
    }
    expected = {}
    for name, params in documents.items():
        with open(os.path.join(folder, name + ".xml"), "w", encoding="utf-8") as f:
            f.write(xmlrpc.client.dumps(params, methodresponse=True))
        expected[name] = {"fault": False, "value": tagged(params[0])}
    faults = {
        "fault": xmlrpc.client.Fault(4, "Too many parameters"),
        "fault-unicode": xmlrpc.client.Fault(-32700, "parse error: ungültig <&>"),
    }
    for name, fault in faults.items():
        with open(os.path.join(folder, name + ".xml"), "w", encoding="utf-8") as f:
            f.write(xmlrpc.client.dumps(fault, methodresponse=True))
        expected[name] = {"fault": True, "faultCode": fault.faultCode,
                          "faultString": fault.faultString,
                          "value": tagged({"faultCode": fault.faultCode,
                                           "faultString": fault.faultString})}
    call = ({"RemoteUri": "sip:4930@x", "TOS": "fax", "Content": "JVBERi0="}, 7)
    with open(os.path.join(folder, "call.xml"), "w", encoding="utf-8") as f:
        f.write(xmlrpc.client.dumps(call, methodname="zentari.SessionInitiate"))
    expected["call"] = {"fault": False,
                        "value": tagged({"methodName": "zentari.SessionInitiate",
                                         "params": list(call)})}
    with open(os.path.join(folder, "expected.json"), "w", encoding="utf-8") as f:
        json.dump(expected, f)


if __name__ == "__main__":
    if len(sys.argv) >= 3 and sys.argv[1] == "read":
        read(sys.argv[2:])
    elif len(sys.argv) == 3 and sys.argv[1] == "write":
        write(sys.argv[2])
    else:
        sys.exit(__doc__)
