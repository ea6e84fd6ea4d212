#!/usr/bin/env python3
"""Builds Faxon-v1.sqlite, a journal store of schema version 1, from store-v1.sql."""
import os
import sqlite3

here = os.path.dirname(os.path.abspath(__file__))
target = os.path.join(here, "Faxon-v1.sqlite")
if os.path.exists(target):
    os.remove(target)
with open(os.path.join(here, "store-v1.sql"), encoding="utf-8") as sql:
    script = sql.read()
store = sqlite3.connect(target)
store.executescript(script)
store.commit()
store.execute("VACUUM")
store.close()
