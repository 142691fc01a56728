#!/usr/bin/python3
"""An example host: what a presentation add-in does to have its narration edited.

It writes a project file for a two-slide presentation (a spoken-length tone per slide, with
click and automatic markers), asks the editor on the session bus to run an editing session
on it, waits until the editor says the session is over (the IsClosed signal, then the
answer to its call), and prints what the editor saved: each slide's duration and markers,
as one JSON line. Then it lets the editor go (Release).

  examples/narration-host.py [--folder DIR] [--editor PROGRAM]

--editor starts PROGRAM -embedding first; without it the session bus starts the installed
editor through its activation file.
"""
import argparse
import configparser
import json
import math
import os
import struct
import subprocess
import sys
import tempfile
import time
import wave

import dbus
import dbus.mainloop.glib
from gi.repository import GLib

SERVICE = "QuorvaneAudio.CallerClass"
PATH = "/CallerClass"
METHODS = "QuorvaneAudio._CallerClass"
EVENTS = "QuorvaneAudio.__CallerClass"


def write_tone(path, seconds, frequency, rate=22050):
    with wave.open(path, "wb") as track:
        track.setnchannels(1)
        track.setsampwidth(2)
        track.setframerate(rate)
        frames = int(seconds * rate)
        track.writeframes(b"".join(
            struct.pack("<h", int(8000 * math.sin(2 * math.pi * frequency * n / rate)))
            for n in range(frames)))


def write_project(folder):
    tracks = os.path.join(folder, "tracks")
    os.makedirs(tracks, exist_ok=True)
    write_tone(os.path.join(tracks, "slide1.wav"), 2.0, 440)
    write_tone(os.path.join(tracks, "slide2.wav"), 1.5, 660)
    project = os.path.join(folder, "narration.ini")
    with open(project, "w") as ini:
        ini.write(f"[Project]\nTargetFolder={tracks}\nSlideCount=2\n"
                  "BaseFrequency=22050\nBaseBits=16\n"
                  "[1]\nSlideTitle=Welcome\nSlideTrack=slide1.wav\nDuration=2.0\n"
                  "ClickMarkerTimes=0.5,1.25\nAutoMarkerTimes=1.0\n"
                  "[2]\nSlideTitle=Results\nSlideTrack=slide2.wav\nDuration=1.5\n"
                  "ClickMarkerTimes=0.75\n")
    return project


def read_back(project):
    ini = configparser.ConfigParser()
    ini.read(project)
    slides = []
    for n in range(1, int(ini["Project"]["SlideCount"]) + 1):
        section = ini[str(n)]
        slides.append({"slide": n, "duration": section.get("Duration", ""),
                       "clicks": section.get("ClickMarkerTimes", ""),
                       "autos": section.get("AutoMarkerTimes", "")})
    return slides


def wait_for_editor(bus, seconds=30):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if bus.name_has_owner(SERVICE):
            return True
        time.sleep(0.05)
    return False


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", default=tempfile.mkdtemp(prefix="narration-"))
    parser.add_argument("--editor")
    options = parser.parse_args()
    project = write_project(options.folder)

    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    if options.editor:
        subprocess.Popen([options.editor, "-embedding"])
        if not wait_for_editor(bus):
            sys.exit("the editor did not appear on the session bus")
    loop = GLib.MainLoop()
    events = []

    def closed():
        events.append("IsClosed")

    def answered(command_line):
        events.append("reply")
        loop.quit()

    def failed(error):
        events.append("error: " + error.get_dbus_message())
        loop.quit()

    bus.add_signal_receiver(closed, signal_name="IsClosed", dbus_interface=EVENTS, path=PATH)
    editor = dbus.Interface(bus.get_object(SERVICE, PATH), METHODS)
    editor.StartWithCommandLine(project, reply_handler=answered, error_handler=failed,
                                timeout=24 * 3600)
    loop.run()
    print(json.dumps({"events": events, "project": project, "slides": read_back(project)}))
    sys.stdout.flush()
    editor.Release(ignore_reply=True)
    bus.flush()


if __name__ == "__main__":
    main()
