// SPDX-License-Identifier: MIT
#pragma once

/// Gives the application its name, maker and version. They name the settings store, so this comes
/// before anything reads settings.
void applyIdentity();
