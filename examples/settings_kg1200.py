# SPDX-License-Identifier: MIT
"""Settings generator for the KG1200 family of monochrome global shutter sensors.

    KG1200M   1280 x 1024, 2 output lanes
    KG1210M   1920 x 1200, 4 output lanes

The whole array is exposed at once and then read row by row, four pixels per
clock.  A row takes as long as the slower of two things: the readout of its
pixels and their transfer over the output link.  Exposure of the next frame
overlaps the readout of the previous one, except for the rows of the global
transfer at the end of the exposure.

How a mode is made: Mode collects the values, the choose_... functions work out
the missing ones and report what is impossible, and the ..._registers
functions turn the result into register writes.
"""

import math
from collections import namedtuple

Part = namedtuple("Part", "width height lanes")
Timing = namedtuple("Timing", "row_clocks row_us frame_rows exposure_rows")

PARTS = {
    "KG1200M": Part(1280, 1024, [1, 2]),
    "KG1210M": Part(1920, 1200, [1, 2, 4]),
}

# Readout
PIXELS_PER_CLOCK = 4
ROW_BLANK_CLOCKS = 72           # row select, sampling and ADC settling
FRAME_BLANK_ROWS = 32
TRANSFER_ROWS = 6               # global transfer, no exposure during these rows
LANE_MBPS = 1200
LINK_ROW_OVERHEAD_US = 0.45     # packet header, footer and the way in and out of idle
MAX_ROWS = 0xFFFF               # frame and exposure registers are 16 bits wide

# Choices of the form and what they mean in registers
PIXEL_CLOCKS_MHZ = [24.0, 37.125, 74.25]            # position in the list: clock_select
ANALOG_GAINS = [1.0, 1.5, 2.0, 3.0, 4.0, 6.0, 8.0]  # position in the list: gain code
FORMATS = {"mono8": "RAW8", "mono10": "RAW10", "mono12": "RAW12"}
FORMAT_BITS = {"RAW8": 8, "RAW10": 10, "RAW12": 12}
FORMAT_CODES = {"RAW8": 0x2A, "RAW10": 0x2B, "RAW12": 0x2C}
FREE_RUN, EDGE_TRIGGER = 0, 1

# Bias and ramp trims from characterisation; the same for every mode and part.
ANALOG_TRIMS = [
    ("R0x3E00", 0x0218, "column amplifier bias"),
    ("R0x3E02", 0x0047, "comparator bias"),
    ("R0x3E04", 0x1C0A, "ramp start and slope"),
    ("R0x3E06", 0x0333, "transfer gate high level"),
    ("R0x3E08", 0x00C0, "transfer gate low level"),
    ("R0x3E0A", 0x0005, "anti-blooming level"),
]

GROUPS = {
    "timing": {"ord": 1, "label": "Frame timing", "tooltip": "Clock, frame rate, trigger"},
    "window": {"ord": 2, "label": "Window", "tooltip": "Part of the array that is read"},
    "exposure": {"ord": 3, "label": "Exposure and gain"},
    "output": {"ord": 4, "label": "Output link", "tooltip": "Format and lanes"},
}


class Mode:
    """The values, errors and notes of the mode that is being made.

    wishes holds what the user set, used the value of every parameter.
    """

    def __init__(self, part, descriptors, parameters):
        self.part = part
        self.limits = PARTS[part]
        self.descriptors = descriptors
        self.errors = []
        self.notes = []
        self.wishes = {}
        self.used = {}
        for name, descriptor in descriptors.items():
            value = parameters.get(name, {}).get("value")
            if value is None:           # unticked, or a combo box without a choice
                self.used[name] = descriptor.get("default")
            else:
                self.used[name] = self.wishes[name] = value

    def choose(self, name, automatic):
        """Use the automatic value unless the user set the parameter."""
        self.used[name] = self.wishes.get(name, automatic)
        return self.used[name]


def write(register, value, *comment):
    """Return a register write; the comment may be left out."""
    return ["REG_WRITE", register, value, *comment]


def choose_window(mode):
    """Place the window; without a position it sits in the middle of the array."""
    limits = mode.limits
    width, height = mode.used["width"], mode.used["height"]
    x_start = mode.choose("x_start", (limits.width - width) // 2 // 8 * 8)
    y_start = mode.choose("y_start", (limits.height - height) // 2 // 2 * 2)
    for axis, start, size, end in (("columns", x_start, width, limits.width),
                                   ("rows", y_start, height, limits.height)):
        if start + size > end:
            mode.errors.append(f"The window covers {axis} {start} to {start + size - 1}; "
                               f"the last one of the {mode.part} is {end - 1}.")
    # Numbers typed into the form need not lie on the step of the descriptor.
    for name in ("width", "height", "x_start", "y_start"):
        step = mode.descriptors[name]["range"][2]
        if mode.used[name] % step:
            mode.errors.append(f"{name} = {mode.used[name]} is not a multiple of {step}.")


def choose_timing(mode):
    """Work out row time, frame length and exposure in rows."""
    used = mode.used
    clock = used["pixel_clock"]
    lanes = mode.choose("lanes", mode.limits.lanes[-1])
    bits = FORMAT_BITS[used["format"]]

    readout_clocks = used["width"] // PIXELS_PER_CLOCK + ROW_BLANK_CLOCKS
    link_us = used["width"] * bits / (lanes * LANE_MBPS) + LINK_ROW_OVERHEAD_US
    link_clocks = math.ceil(link_us * clock)
    row_clocks = max(readout_clocks, link_clocks)
    row_us = row_clocks / clock

    min_rows = used["height"] + FRAME_BLANK_ROWS
    frame_rate = used["frame_rate"]
    frame_rows = round(1e6 / (frame_rate * row_us))
    if frame_rows < min_rows:
        mode.errors.append(f"{frame_rate:.2f} fps is too fast: {min_rows} rows of {row_us:.3f} "
                           f"us allow at most {1e6 / (min_rows * row_us):.2f} fps.")
    if frame_rows > MAX_ROWS:
        mode.errors.append(f"{frame_rate:.2f} fps is too slow: it needs {frame_rows} rows per "
                           f"frame, the limit is {MAX_ROWS}. Use a slower pixel clock.")
    frame_rows = min(max(frame_rows, min_rows), MAX_ROWS)

    longest = frame_rows - TRANSFER_ROWS
    exposure_us = mode.choose("exposure_us", min(5000.0, longest * row_us / 2))
    exposure_rows = max(1, round(exposure_us / row_us))
    if exposure_rows > longest:
        mode.errors.append(f"The exposure of {exposure_us:.1f} us is too long: a frame of "
                           f"{frame_rows} rows leaves room for {longest * row_us:.1f} us.")
        exposure_rows = longest

    used["row_time_us"] = round(row_us, 4)
    limit = "the output link" if link_clocks > readout_clocks else "the array readout"
    mode.notes += [
        f"Row time: {row_us:.3f} us ({row_clocks} clocks), set by {limit}",
        f"Frame rate: {1e6 / (frame_rows * row_us):.3f} fps ({frame_rows} rows), "
        f"at most {1e6 / (min_rows * row_us):.3f} fps",
        f"Exposure: {exposure_rows * row_us:.1f} us ({exposure_rows} rows)",
    ]
    if used["trigger"] == EDGE_TRIGGER:
        mode.notes.append("Edge trigger: the frame rate is that of the trigger input.")
    return Timing(row_clocks, row_us, frame_rows, exposure_rows)


def reset_registers():
    """Bring the sensor from any state to standby.  Identical in every mode.

    DELAY (in ms) and POLL (register, value, timeout in ms) are no operations of Tarnwick;
    the exports carry them as comments for whoever writes the boot code.
    """
    return [
        ["COMMENT", "Stop, reset and wait until the boot loader is done"],
        write("R0x301A:stream", 0),
        write("R0x301A:reset", 1),
        ["DELAY", 5],
        ["POLL", "R0x301C:ready", 1, 100],
        write("R0x301A:standby", 1),
    ]


def trim_registers():
    """Write the analog trims.  Identical in every mode."""
    return [write(register, value, comment) for register, value, comment in ANALOG_TRIMS]


def window_registers(used):
    """First and last column and row of the window."""
    return [
        ["COMMENT", f"Window of {used['width']} x {used['height']} pixels"],
        write("R0x3100", used["x_start"], "x_start"),
        write("R0x3102", used["y_start"], "y_start"),
        write("R0x3104", used["x_start"] + used["width"] - 1, "x_end"),
        write("R0x3106", used["y_start"] + used["height"] - 1, "y_end"),
    ]


def timing_registers(used, timing):
    """Clock, frame geometry in time, and exposure."""
    return [
        write("R0x3020", PIXEL_CLOCKS_MHZ.index(used["pixel_clock"]),
              f"clock_select, {used['pixel_clock']:.3f} MHz"),
        write("R0x3110", timing.row_clocks, "row_clocks"),
        write("R0x3112", timing.frame_rows, "frame_rows"),
        write("R0x3120", timing.exposure_rows, "exposure_rows"),
        write("R0x3122", TRANSFER_ROWS, "transfer_rows"),
        write("R0x3140:trigger_mode", used["trigger"]),
    ]


def output_registers(used):
    """Gains, data format and lanes, and the start of the stream."""
    return [
        write("R0x3130", ANALOG_GAINS.index(used["analog_gain"]),
              f"analog_gain, {used['analog_gain']:.1f} x"),
        write("R0x3132", round(used["digital_gain"] * 128),
              f"digital_gain, {used['digital_gain']:.3f} x in 1/128"),
        write("R0x3134", used["black_level"], "black_level"),
        write("R0x3150", FORMAT_CODES[used["format"]], f"data_type, {used['format']}"),
        write("R0x3152:lanes", used["lanes"] - 1),
        write("R0x3152:drive", used["lane_drive"]),
        write("R0x301A:standby", 0),
        write("R0x301A:stream", 1),
    ]


def mode_name(part, used):
    """Name the mode after what tells it apart; it has to be a Python identifier."""
    rate = f"{used['frame_rate']:g}".replace(".", "p")
    name = f"{part}_{used['width']}x{used['height']}_{rate}fps_{FORMAT_BITS[used['format']]}bit"
    return f"{name}_m{used['mode_id']}" if used["mode_id"] else name


class Settings:
    """Parameters and modes of the KG1200 family."""

    part_numbers = list(PARTS)

    def parameter_group_list(self, part):
        """Return the group boxes of the form."""
        return GROUPS

    def parameter_list(self, part):
        """Return the rows of the form.  row_time_us only shows a result."""
        limits = PARTS[part]
        return {
            "frame_rate": {
                "group": "timing", "ord": 1, "label": "Frame rate (fps)", "type": "float",
                "range": [1.0, 400.0, 0.5], "prec": 2, "default": 60.0,
                "tooltip": "Frames per second in free run"},
            "pixel_clock": {
                "group": "timing", "ord": 2, "label": "Pixel clock (MHz)", "type": "float",
                "enum": PIXEL_CLOCKS_MHZ, "prec": 3, "default": 74.25,
                "tooltip": "Slower clocks save power and reach lower frame rates"},
            "trigger": {
                "group": "timing", "ord": 3, "label": "Trigger", "default": FREE_RUN,
                "enum": {"free run": FREE_RUN, "edge": EDGE_TRIGGER},
                "tooltip": "With edge, every pulse of the trigger input starts a frame"},
            "row_time_us": {
                "group": "timing", "ord": 4, "label": "Row time (us)", "type": "float",
                "prec": 3, "tooltip": "Result: time to read one row"},
            "width": {
                "group": "window", "ord": 1, "range": [64, limits.width, 16],
                "default": limits.width, "tooltip": "Columns"},
            "height": {
                "group": "window", "ord": 2, "range": [16, limits.height, 4],
                "default": limits.height, "tooltip": "Rows"},
            "x_start": {
                "group": "window", "ord": 3, "range": [0, limits.width - 64, 8],
                "tooltip": "First column; left out, the window is centred"},
            "y_start": {
                "group": "window", "ord": 4, "range": [0, limits.height - 16, 2],
                "tooltip": "First row; left out, the window is centred"},
            "exposure_us": {
                "group": "exposure", "ord": 1, "label": "Exposure (us)", "type": "float",
                "range": [1.0, 1000000.0, 100.0], "prec": 1, "default": None,
                "tooltip": "Left out: 5 ms, or half of a short frame"},
            "analog_gain": {
                "group": "exposure", "ord": 2, "type": "float", "enum": ANALOG_GAINS,
                "prec": 1, "default": 1.0, "tooltip": "Gain of the column amplifiers"},
            "digital_gain": {
                "group": "exposure", "ord": 3, "type": "float", "range": [1.0, 15.99],
                "prec": 3, "default": 1.0, "enable": False, "tooltip": "Steps of 1/128"},
            "black_level": {
                "group": "exposure", "ord": 4, "range": [0, 255], "default": 64,
                "tooltip": "Output code of a dark pixel, in 12 bits"},
            "format": {
                "group": "output", "ord": 1, "enum": FORMATS, "default": "RAW12",
                "tooltip": "Bits per pixel on the link"},
            "lanes": {
                "group": "output", "ord": 2, "enum": limits.lanes,
                "tooltip": "Output lanes in use; left out, all of them"},
            # Not for users: other drive strengths were only needed on the first boards.
            "lane_drive": {"hide": True, "range": [0, 7], "default": 4},
            "mode_id": {
                "label": "Mode number", "range": [0, 99], "default": 0,
                "tooltip": "Added to the name, to tell apart modes that differ only in "
                           "exposure, gain and the like"},
        }

    def generate(self, part, parameters):
        """Make one mode.

        The exported files hold every function name once.  So a name either has the same
        registers in all modes, or it ends with the name of the mode.
        """
        mode = Mode(part, self.parameter_list(part), parameters)
        choose_window(mode)
        timing = choose_timing(mode)

        used = mode.used
        name = mode_name(part, used)
        functions = [
            ("kg1200_reset_sequence", reset_registers()),
            ("kg1200_analog_trims", trim_registers()),
            (f"kg1200_window_{name}", window_registers(used)),
            (f"kg1200_timing_{name}", timing_registers(used, timing)),
            (f"kg1200_output_{name}", output_registers(used)),
        ]
        return {
            "name": name,
            "functions": [{"name": function, "instructions": instructions}
                          for function, instructions in functions],
            "notes": mode.notes,
            "errors": mode.errors,
            "parameters": {key: {"value": value} for key, value in used.items()},
        }
