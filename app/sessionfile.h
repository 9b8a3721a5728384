// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantList>

/// What a session file records.
struct SessionDescription
{
    QString modulePath; // as the session received it
    QString moduleName;
    QString partNumber;
    /// One element per mode: a map from the name of each ticked parameter to a map with the one key
    /// "value". Reading keeps elements of other types as the file has them.
    QVariantList allParameters;
};

/// The indented JSON text of a session file, UTF-8. What is read from it gives the same text again.
[[nodiscard]] QByteArray sessionFileText(const SessionDescription &description);

/// Missing or ill-typed members read as empty, and so does everything when the text is no JSON
/// object. Members that a session file does not have are ignored.
[[nodiscard]] SessionDescription readSessionFileText(const QByteArray &text);
