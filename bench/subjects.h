// SPDX-License-Identifier: MIT
#pragma once

// What is measured. Each subject runs in a process of its own, so that none inherits the heap or the
// interpreter of another, and prints its part of the table.

/// One change of a parameter, and the register pane alone.
void benchChange();
/// Building and rebuilding the form.
void benchForm();
/// Opening modes in the main window.
void benchModes();
/// Memory of modes with 1,000 and with 10,000 instructions.
void benchMemory1000();
void benchMemory10000();
/// What stays of modes that were closed, and of plain widgets.
void benchRounds();
void benchPlainRounds();
/// The texts of exports and session files.
void benchExports();
/// Loading, colouring and typing in the code editor.
void benchEditor();
/// The editor's Run with many modes.
void benchRun();
/// Printing into the console.
void benchConsole();
/// Finding the interpreter and starting it; the next three print what they took themselves.
void benchPython();
void startPython();
void startBarePython();
void searchForPython();
/// From the start of a process to its first painted window.
void benchStart();

/// The two programs whose start is compared: the whole program, and an empty window with the
/// interpreter. Both end the process as soon as their window is painted.
void startProgram();
void startEmptyWindow();
