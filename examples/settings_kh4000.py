# SPDX-License-Identifier: MIT
"""Settings generator for the KH4000 family of rolling shutter HDR colour sensors.

    KH4000   2688 x 1520, up to three exposures per frame, 4 lanes
    KH4005   1936 x 1096, up to two exposures per frame, 2 lanes

Every row is read once per exposure and merged on the chip, so an HDR line takes two or
three times as long as a linear one.  A PLL makes the pixel clock:

    VCO = extclk / pll_pre_div * pll_multiplier
    pixel clock = VCO / pll_sys_div / pll_pix_div

Two pixels are read per pixel clock.  Times are in pixel clocks ("pck") and in lines.
"""

import math
from collections import namedtuple

Part = namedtuple("Part", "width height exposures lanes vco_max")
# A PLL setting; the fields are called like the parameters that show them.
Pll = namedtuple("Pll", "pll_pre_div pll_multiplier pll_sys_div pll_pix_div vco pixel_clock")

PARTS = {
    "KH4000": Part(2688, 1520, 3, [1, 2, 4], 1200.0),
    "KH4005": Part(1936, 1096, 2, [1, 2], 1000.0),
}

# Clock limits, in MHz.  PFD: the phase detector of the PLL, behind the pre-divider.
PFD_MIN, PFD_MAX = 4.0, 27.0
VCO_MIN = 500.0
PIXEL_CLOCK_MIN, PIXEL_CLOCK_MAX = 20.0, 180.0
PIXEL_CLOCK_TOLERANCE = 0.005       # of the clock that the user asked for
PIXEL_CLOCK_MARGIN = 1.01           # automatic clock, above what the frame rate needs
PRE_DIVS, MULTIPLIERS = range(1, 17), range(16, 256)
SYS_DIVS, PIX_DIVS = [1, 2, 4], range(4, 21)

# Frame timing
PIXELS_PER_PCK = 2
LINE_BLANK_PCK = 120                # per exposure
FRAME_BLANK_LINES = 24
EXPOSURE_GAP_LINES = 4              # between the exposures of a frame
AUTO_EXPOSURE_MS = 10.0
REGISTER_MAX = 0xFFFF

# Row program: signal, and the pck at which it rises and falls.  Code: place in the list.
SEQUENCER_SIGNALS = [
    ("row_select", 4, 412), ("reset_gate", 10, 58), ("transfer_gate", 196, 240),
    ("dual_gain", 6, 300), ("column_clamp", 14, 70), ("sample_reset", 72, 180),
    ("sample_signal", 250, 400), ("ramp_reset", 60, 84), ("ramp_run", 90, 392),
    ("comparator_zero", 20, 86), ("counter_clear", 64, 88), ("latch", 402, 410),
    ("shift_out", 413, 446), ("boost", 190, 244), ("sink_bias", 2, 448),
]
SEQUENCER_PCK = 470                 # the row program has to fit into the line
SEQUENCER_END = 0xFFFF
SHORT_EXPOSURE_SHIFT = 6            # pck; the shorter the exposure, the later the edges

# Lens shading: first register and size of the tables; strength by colour
SHADING_BASE, SHADING_COLUMNS, SHADING_ROWS = 0x4000, 13, 9
SHADING_PLANES = [("red", 1.08), ("green_r", 1.0), ("green_b", 1.0), ("blue", 0.94)]

OFF_ON = {"off": 0, "on": 1}
HDR_NAMES = {1: "linear", 2: "hdr2", 3: "hdr3"}
DATA_BITS = {"RAW10": 10, "RAW12": 12, "RAW16": 16}
DATA_CODES = {"RAW10": 0x2B, "RAW12": 0x2C, "RAW16": 0x2E}

GROUPS = {
    "clock": {"ord": 1, "label": "Clocks and PLL",
              "tooltip": "Tick a PLL value only to force it; left out, it is searched"},
    "frame": {"ord": 2, "label": "Window and frame timing"},
    "hdr": {"ord": 3, "label": "Exposure and HDR", "tooltip": "T1 is the longest exposure"},
    "image": {"ord": 4, "label": "Image and output"},
}


def form(limits):
    """Return the groups and their rows; parameter_list adds "group" and "ord" to each row.

    Rows without "range" and "enum" have nothing to set, they only show results.
    """
    colour = {"type": "float", "range": [0.25, 7.99, 0.05], "prec": 2, "tooltip": "White balance"}
    return {
        "clock": {
            "extclk": {"label": "extclk (MHz)", "type": "float", "range": [6.0, 54.0, 0.5],
                       "prec": 4, "default": 27.0, "tooltip": "Frequency of the clock input"},
            "pixel_clock": {"label": "Pixel clock (MHz)", "type": "float", "default": None,
                            "range": [PIXEL_CLOCK_MIN, PIXEL_CLOCK_MAX, 0.5],
                            "tooltip": "Left out: slow, but enough for the frame rate"},
            "pll_pre_div": {"range": [PRE_DIVS[0], PRE_DIVS[-1]]},
            "pll_multiplier": {"range": [MULTIPLIERS[0], MULTIPLIERS[-1]]},
            "pll_sys_div": {"tooltip": "Result"},
            "pll_pix_div": {"tooltip": "Result"},
            "vco": {"label": "VCO (MHz)", "type": "float", "tooltip": "Result"},
            "spread": {"type": "float", "enum": {"off": 0.0, "0.25 %": 0.25, "0.50 %": 0.5},
                       "default": 0.0, "enable": False, "tooltip": "Spread of the VCO"},
        },
        "frame": {
            "width": {"range": [64, limits.width, 16], "default": 1920, "tooltip": "Columns"},
            "height": {"range": [32, limits.height, 8], "default": 1080, "tooltip": "Rows"},
            "x_start": {"tooltip": "Result: centred"},
            "y_start": {"tooltip": "Result: centred"},
            "frame_rate": {"label": "Frame rate (fps)", "type": "float", "prec": 2,
                           "range": [1.0, 120.0, 0.5], "default": 30.0},
            "fastest_rate": {"label": "At most (fps)", "type": "float", "tooltip": "Result"},
            "frame_length_lines": {"tooltip": "Result"},
            "frame_time_ms": {"label": "Frame time (ms)", "type": "float", "tooltip": "Result"},
            "line_length_pck": {"range": [100, REGISTER_MAX],
                                "tooltip": "Left out: the shortest possible"},
            "line_time_us": {"label": "Line time (us)", "type": "float", "tooltip": "Result"},
            "mirror": {"enum": OFF_ON, "default": 0, "enable": False},
        },
        "hdr": {
            "exposures": {"enum": list(range(1, limits.exposures + 1)),
                          "default": limits.exposures},
            "exposure_ms": {"label": "T1 (ms)", "type": "float", "range": [0.01, 900.0, 0.5],
                            "tooltip": "Left out: 10 ms, or half of a short frame"},
            "ratio": {"label": "T1 : T2 and T2 : T3", "enum": [4, 8, 16, 32], "default": 8},
        },
        "image": {
            "analog_gain": {"type": "float", "enum": [1.0, 1.4, 2.0, 2.8, 4.0, 5.6, 8.0],
                            "prec": 1, "default": 1.0, "tooltip": "Gain before conversion"},
            "digital_gain": {"type": "float", "range": [1.0, 8.0], "default": 1.0, "enable": False},
            "red_gain": dict(colour, default=1.6),
            "blue_gain": dict(colour, default=1.9),
            "black_level": {"range": [0, 1023], "default": 168},
            "shading_percent": {"range": [0, 150, 5], "default": 35,
                                "tooltip": "Lens shading: gain added in the corners"},
            "data_type": {"enum": {"10 bit": "RAW10", "12 bit": "RAW12", "16 bit": "RAW16"},
                          "default": "RAW12", "tooltip": "More bits keep more of the range"},
            "lanes": {"enum": limits.lanes, "default": limits.lanes[-1]},
            # Only for bring-up; so far the reset value was right on every board.
            "lane_skew": {"hide": True, "range": [0, 15], "default": 7},
        },
    }


class Mode:
    """The values, errors and notes of the mode that is being made.

    wishes holds what the user set, used the value of every parameter.
    """

    def __init__(self, part, descriptors, parameters):
        self.limits = PARTS[part]
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


def choose_line(mode):
    """Centre the window and work out the line length: every exposure reads the row once."""
    used, limits = mode.used, mode.limits
    used["x_start"] = (limits.width - used["width"]) // 4 * 2
    used["y_start"] = (limits.height - used["height"]) // 4 * 2
    readout_pck = used["width"] // PIXELS_PER_PCK + LINE_BLANK_PCK
    shortest = used["exposures"] * max(readout_pck, SEQUENCER_PCK)
    if mode.choose("line_length_pck", shortest) < shortest:
        mode.errors.append(f"line_length_pck {used['line_length_pck']} is too short: "
                           f"{used['width']} columns and {used['exposures']} exposures need "
                           f"{shortest} pck.")


def choose_pll(mode, min_lines):
    """Search the PLL setting for the pixel clock; return whether there is one."""
    used = mode.used
    needed = min_lines * used["line_length_pck"] * used["frame_rate"] / 1e6
    automatic = min(max(needed * PIXEL_CLOCK_MARGIN, PIXEL_CLOCK_MIN), PIXEL_CLOCK_MAX)
    target = mode.choose("pixel_clock", math.ceil(automatic))
    candidates = list(pll_candidates(mode, target))
    if not candidates:
        mode.errors.append(f"No PLL setting makes a pixel clock near {target:.3f} MHz from extclk "
                           f"{used['extclk']:.3f} MHz with what is ticked. The phase detector "
                           f"works from {PFD_MIN:.0f} to {PFD_MAX:.0f} MHz, the VCO from "
                           f"{VCO_MIN:.0f} to {mode.limits.vco_max:.0f} MHz.")
        return False

    # Nearest clock first; then the lowest VCO for power and pre-divider for jitter.
    pll = min(candidates,
              key=lambda c: (round(abs(c.pixel_clock - target), 6), c.vco, c.pll_pre_div))
    difference = abs(pll.pixel_clock - target) / target
    if "pixel_clock" in mode.wishes and difference > PIXEL_CLOCK_TOLERANCE:
        mode.errors.append(f"The PLL cannot make {target:.3f} MHz from {used['extclk']:.3f} MHz: "
                           f"the nearest pixel clock is {pll.pixel_clock:.3f} MHz.")
    used.update(pll._asdict())
    mode.notes += [
        f"VCO: {used['extclk']:.3f} / {pll.pll_pre_div} * {pll.pll_multiplier} = {pll.vco:.3f} MHz",
        f"Pixel clock: VCO / {pll.pll_sys_div} / {pll.pll_pix_div} = {pll.pixel_clock:.3f} MHz "
        f"({needed:.3f} MHz needed for {used['frame_rate']:.2f} fps)",
    ]
    return True


def pll_candidates(mode, target):
    """Yield the settings within all limits; the multiplier is the best one for the target."""
    wishes = mode.wishes
    pre_divs = [wishes["pll_pre_div"]] if "pll_pre_div" in wishes else PRE_DIVS
    for pre_div in pre_divs:
        pfd = mode.used["extclk"] / pre_div
        if not PFD_MIN <= pfd <= PFD_MAX:
            continue
        for sys_div in SYS_DIVS:
            for pix_div in PIX_DIVS:
                best = round(target * sys_div * pix_div / pfd)
                multiplier = wishes.get("pll_multiplier", best)
                vco = pfd * multiplier
                clock = vco / sys_div / pix_div
                if multiplier in MULTIPLIERS and VCO_MIN <= vco <= mode.limits.vco_max \
                        and PIXEL_CLOCK_MIN <= clock <= PIXEL_CLOCK_MAX:
                    yield Pll(pre_div, multiplier, sys_div, pix_div, vco, clock)


def choose_frame(mode, min_lines):
    """Work out the frame length for the frame rate."""
    used = mode.used
    line_us = used["line_length_pck"] / used["pixel_clock"]
    fastest = 1e6 / (min_lines * line_us)
    lines = int(1e6 / (used["frame_rate"] * line_us))
    if lines < min_lines:
        mode.errors.append(f"{used['frame_rate']:.2f} fps is too fast: {min_lines} lines of "
                           f"{line_us:.3f} us allow at most {fastest:.2f} fps.")
    if lines > REGISTER_MAX:
        mode.errors.append(f"{used['frame_rate']:.2f} fps is too slow: it needs {lines} lines, the "
                           f"limit is {REGISTER_MAX}. Use a longer line or a slower pixel clock.")
    lines = min(max(lines, min_lines), REGISTER_MAX)
    used.update(line_time_us=line_us, frame_length_lines=lines,
                frame_time_ms=lines * line_us / 1000.0, fastest_rate=fastest)
    mode.notes.append(f"Frame rate: {1e6 / (lines * line_us):.3f} fps "
                      f"({lines} lines of {line_us:.3f} us)")


def choose_exposures(mode):
    """Return the exposures in lines, the longest first."""
    used, line_ms = mode.used, mode.used["line_time_us"] / 1000.0
    longest = mode.choose("exposure_ms", min(AUTO_EXPOSURE_MS, used["frame_time_ms"] / 2))
    wanted = [longest / used["ratio"] ** i for i in range(used["exposures"])]
    exposures = [max(1, round(time / line_ms)) for time in wanted]
    total = sum(exposures) + EXPOSURE_GAP_LINES * len(exposures)
    if total > used["frame_length_lines"]:
        mode.errors.append(f"T1 of {longest:.3f} ms is too long: all exposures take "
                           f"{total * line_ms:.3f} ms, a frame {used['frame_time_ms']:.3f} ms.")
    if wanted[-1] < line_ms / 2:
        mode.errors.append(f"T{len(wanted)} of {wanted[-1] * 1000:.1f} us is shorter than a line "
                           f"of {line_ms * 1000:.1f} us; use a longer T1 or a smaller ratio.")
    times = ", ".join(f"{lines * line_ms:.3f}" for lines in exposures)
    mode.notes.append(f"Exposures: {times} ms")
    return [min(lines, REGISTER_MAX) for lines in exposures]


def write(register, value, *comment):
    """Return a register write; the comment may be left out."""
    return ["REG_WRITE", register, value, *comment]


def fixed(value, fraction_bits):
    """Return a number as a fixed-point register value."""
    return round(value * (1 << fraction_bits))


def reset_registers():
    """Stop and reset the sensor; DELAY (ms) and POLL are for whoever writes the boot code."""
    return [write("mode_control:stream", 0), write("mode_control:reset", 1), ["DELAY", 3],
            ["POLL", "boot_status:done", 1, 50]]


def pll_registers(used):
    """Set the dividers while the clock tree runs from extclk, then switch over."""
    return [
        ["COMMENT", f"{used['extclk']:.3f} MHz in, {used['pixel_clock']:.3f} MHz pixel clock"],
        write("clock_tree:use_pll", 0),
        write("pll_pre_div", used["pll_pre_div"]),
        write("pll_multiplier", used["pll_multiplier"], f"VCO {used['vco']:.3f} MHz"),
        write("pll_sys_div", used["pll_sys_div"]),
        write("pll_pix_div", used["pll_pix_div"]),
        write("pll_control:spread", fixed(used["spread"], 2), "quarters of a percent"),
        write("pll_control:enable", 1),
        ["POLL", "pll_status:locked", 1, 10],
        write("clock_tree:use_pll", 1),
    ]


def sequencer_registers(exposures):
    """Upload the row program: one pass over the signals per exposure, sorted by time."""
    instructions = [["COMMENT", f"Row program for {exposures} exposures"],
                    write("sequencer_control:run", 0), write("sequencer_address", 0)]
    for exposure in range(exposures):
        shift = exposure * SHORT_EXPOSURE_SHIFT
        edges = []
        for code, (signal, rise, fall) in enumerate(SEQUENCER_SIGNALS):
            edges += [(rise + shift, code, 1, signal), (fall + shift, code, 0, signal)]
        instructions += [write("sequencer_data", code << 11 | level << 10 | time,
                               f"T{exposure + 1} {time:3d} {signal} {'on' if level else 'off'}")
                         for time, code, level, signal in sorted(edges)]
    return instructions + [write("sequencer_data", SEQUENCER_END),
                           write("sequencer_control:run", 1)]


def shading_registers(percent):
    """Compute the shading gains: they grow with the square of the distance to the centre."""
    instructions = []
    for plane, (colour, strength) in enumerate(SHADING_PLANES):
        instructions.append(["COMMENT", f"{colour}: {SHADING_COLUMNS} x {SHADING_ROWS} gains"])
        address = SHADING_BASE + plane * 0x100
        for row in range(SHADING_ROWS):
            y = 2 * row / (SHADING_ROWS - 1) - 1
            for column in range(SHADING_COLUMNS):
                x = 2 * column / (SHADING_COLUMNS - 1) - 1
                gain = 1 + strength * percent / 100 * (x * x + y * y) / 2
                instructions.append(write(f"R0x{address:04X}", fixed(gain, 10)))
                address += 2
    return instructions


def frame_registers(used, exposures):
    """Window, frame timing and exposures."""
    instructions = [
        write("x_start", used["x_start"]),
        write("y_start", used["y_start"]),
        write("x_end", used["x_start"] + used["width"] - 1),
        write("y_end", used["y_start"] + used["height"] - 1),
        write("read_mode:mirror", used["mirror"]),
        write("line_length_pck", used["line_length_pck"], f"{used['line_time_us']:.3f} us"),
        write("frame_length_lines", used["frame_length_lines"], f"{used['frame_time_ms']:.3f} ms"),
        write("watchdog_us", round(2000 * used["frame_time_ms"]), "two frames, 32-bit register"),
        write("hdr_control:exposures", len(exposures)),
    ]
    return instructions + [write(f"exposure_t{i}_lines", lines)
                           for i, lines in enumerate(exposures, 1)]


def image_registers(used):
    """Gains, pipeline and output, and the start of the stream."""
    return [
        write("analog_gain", fixed(used["analog_gain"], 4), f"{used['analog_gain']:.1f} x"),
        write("digital_gain", fixed(used["digital_gain"], 8)),
        write("red_gain", fixed(used["red_gain"], 8)),
        write("blue_gain", fixed(used["blue_gain"], 8)),
        write("black_level", used["black_level"]),
        write("data_type", DATA_CODES[used["data_type"]], used["data_type"]),
        write("link:lanes", used["lanes"] - 1),
        write("link:skew", used["lane_skew"]),
        write("mode_control:stream", 1),
    ]


def mode_name(part, used):
    """Name the mode after what tells it apart; it has to be a Python identifier."""
    rate = f"{used['frame_rate']:g}".replace(".", "p")
    name = (f"{part}_{used['width']}x{used['height']}_{rate}fps_"
            f"{HDR_NAMES[used['exposures']]}_{DATA_BITS[used['data_type']]}bit")
    return f"{name}_m{used['mode_id']}" if used["mode_id"] else name


def sensor_functions(name, used, exposures):
    """Return the functions of a mode, in the order they are applied.

    The exported files hold every function name once.  So a name has the same registers in
    all modes (reset), or it holds the values that the registers are computed from (the
    sequencer, the shading), or it ends with the name of the mode.
    """
    hdr = HDR_NAMES[used["exposures"]]
    percent = used["shading_percent"]
    functions = {
        "kh4000_reset_sequence": reset_registers(),
        f"kh4000_pll_{name}": pll_registers(used),
        f"kh4000_sequencer_{hdr}": sequencer_registers(len(exposures)),
        f"kh4000_shading_{percent}": shading_registers(percent),
        f"kh4000_frame_{name}": frame_registers(used, exposures),
        f"kh4000_image_{name}": image_registers(used),
    }
    return [{"name": function, "instructions": instructions}
            for function, instructions in functions.items()]


class Settings:
    """Parameters and modes of the KH4000 family: what Tarnwick calls."""

    part_numbers = list(PARTS)

    def parameter_group_list(self, part):
        """Return the group boxes of the form."""
        return GROUPS

    def parameter_list(self, part):
        """Return the rows of the form, each group in the order it is written above."""
        result = {"mode_id": {"label": "Mode number", "range": [0, 99], "default": 0,
                              "tooltip": "Added to the name, for modes that differ in little"}}
        for group, rows in form(PARTS[part]).items():
            for order, (name, descriptor) in enumerate(rows.items()):
                result[name] = dict(descriptor, group=group, ord=order)
        return result

    def generate(self, part, parameters):
        """Make one mode; without a PLL setting there are errors but no functions."""
        mode = Mode(part, self.parameter_list(part), parameters)
        name = mode_name(part, mode.used)
        min_lines = mode.used["height"] + FRAME_BLANK_LINES
        choose_line(mode)
        functions = []
        if choose_pll(mode, min_lines):
            choose_frame(mode, min_lines)
            exposures = choose_exposures(mode)
            functions = sensor_functions(name, mode.used, exposures)
        return {
            "name": name,
            "functions": functions,
            "notes": mode.notes,
            "errors": mode.errors,
            "parameters": {key: {"value": value} for key, value in mode.used.items()},
        }
