# SPDX-License-Identifier: MIT
"""Settings generator for the PICO1, a 320 x 240 sensor with a fixed 6 MHz clock.

This is about the smallest generator that is useful: four parameters, one
function, two possible errors.  Copy it as the start of a new one.
"""

WIDTH, HEIGHT = 320, 240
CLOCK_MHZ = 6.0
LINE_CLOCKS = 400                # 320 pixels and the horizontal blanking
MIN_BLANK_LINES = 20


class Settings:
    """The class Tarnwick looks for.  One object is made for every request."""

    part_numbers = ["PICO1"]

    def parameter_list(self, part):
        """Return the rows of the form: parameter name to descriptor."""
        return {
            "frame_rate": {"type": "float", "range": [1.0, 60.0, 0.5], "default": 30.0,
                           "prec": 1, "ord": 1, "tooltip": "Frames per second"},
            "exposure_ms": {"type": "float", "range": [0.1, 1000.0], "prec": 1, "ord": 2,
                            "tooltip": "Exposure; left out, half the frame time is used"},
            "gain": {"enum": [1, 2, 4, 8], "default": 1, "ord": 3,
                     "tooltip": "Analog gain"},
            "flip": {"enum": {"normal": 0, "upside down": 1}, "default": 0, "ord": 4,
                     "tooltip": "Order in which the lines are read"},
        }

    def generate(self, part, parameters):
        """Turn the ticked parameters into one mode."""
        def value_of(name, automatic):
            # Unticked: not in the dict.  Combo box without a choice: None.
            value = parameters.get(name, {}).get("value")
            return automatic if value is None else value

        frame_rate = value_of("frame_rate", 30.0)
        exposure_ms = value_of("exposure_ms", 500.0 / frame_rate)
        gain = value_of("gain", 1)
        flip = value_of("flip", 0)

        line_ms = LINE_CLOCKS / CLOCK_MHZ / 1000.0
        frame_lines = round(1000.0 / (frame_rate * line_ms))
        exposure_lines = max(1, round(exposure_ms / line_ms))

        errors = []
        if frame_lines < HEIGHT + MIN_BLANK_LINES:
            errors.append(f"{frame_rate:.1f} fps leaves {frame_lines} lines per frame; "
                          f"the sensor needs at least {HEIGHT + MIN_BLANK_LINES}.")
        if exposure_lines >= frame_lines:
            errors.append(f"The exposure of {exposure_ms:.1f} ms does not fit into the "
                          f"frame time of {frame_lines * line_ms:.1f} ms.")

        # A name stands for one sensor setting in the exported files, so it holds
        # every value that the register writes below depend on.
        setting = f"{frame_rate:.1f}fps_{exposure_lines}lines_gain{gain}_flip{flip}"
        setting = setting.replace(".", "p")
        return {
            "name": f"PICO1_{setting}",
            "functions": [{"name": f"pico1_setup_{setting}", "instructions": [
                ["COMMENT", f"{WIDTH} x {HEIGHT} at {frame_rate:.1f} fps"],
                ["REG_WRITE", "frame_lines", frame_lines],
                ["REG_WRITE", "exposure_lines", exposure_lines,
                 f"{exposure_lines * line_ms:.2f} ms"],
                ["REG_WRITE", "analog_gain", gain],
                ["REG_WRITE", "control:flip", flip],
            ]}],
            "notes": [f"Line time: {line_ms * 1000.0:.2f} us, {frame_lines} lines per frame",
                      f"Frame rate: {1000.0 / (frame_lines * line_ms):.3f} fps"],
            "errors": errors,
            "parameters": {"frame_rate": {"value": frame_rate},
                           "exposure_ms": {"value": exposure_ms},
                           "gain": {"value": gain}, "flip": {"value": flip}},
        }
