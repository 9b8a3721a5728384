# SPDX-License-Identifier: MIT
"""Runs every mode function of an initializer and prints what it does to the device."""
import sys


class Register:
    def __init__(self, name):
        self.__dict__["name"] = name

    def __setattr__(self, attribute, value):
        print("%s.%s = %d" % (self.name, attribute, value))


class Device:
    def __getitem__(self, name):
        return Register(name)

    def __setattr__(self, attribute, value):
        print("device.%s = %r" % (attribute, value))


names = {
    "Reset": lambda device: print("Reset"),
    "stream_off": lambda device: print("stream_off"),
    "stream_on": lambda device: print("stream_on"),
}
with open(sys.argv[1], encoding="utf-8") as initializer:
    exec(compile(initializer.read(), "initializer", "exec"), names)
for mode in names["__AllModes"]():
    print("mode", mode.__name__)
    mode(Device())
