// SPDX-License-Identifier: MIT
#include "params/readablepalette.h"

#include <QPair>
#include <QPalette>
#include <QVector>

#include <algorithm>
#include <cmath>

/// The share of white in a colour as the eye sees it, 0 to 1.
static double luminance(const QColor &colour)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
        + 0.0722 * linear(colour.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    const double first = luminance(a) + 0.05;
    const double second = luminance(b) + 0.05;
    return first > second ? first / second : second / first;
}

static QColor mixed(const QColor &a, const QColor &b, double share)
{
    const auto part = [share](double from, double to) { return from + share * (to - from); };
    return QColor::fromRgbF(
        part(a.redF(), b.redF()), part(a.greenF(), b.greenF()), part(a.blueF(), b.blueF()));
}

/// \a faint, brought as near to \a full as it has to be to be read on all \a grounds.
static QColor readableText(const QColor &faint, const QColor &full, const QVector<QColor> &grounds)
{
    QColor text = faint;
    const auto isFaint = [&text](const QColor &ground) {
        return contrast(text, ground) < readableContrast;
    };
    constexpr double step = 1 / 16.0;
    for (double share = step; share <= 1 && std::any_of(grounds.begin(), grounds.end(), isFaint);
         share += step)
        text = mixed(faint, full, share);
    return text;
}

QPalette readablePalette()
{
    QPalette palette; // the application's
    const auto lightness = [&palette](QPalette::ColorRole role) {
        return luminance(palette.color(QPalette::Active, role));
    };
    // On light grounds a greyed text is faint because it is meant to be.
    if (lightness(QPalette::Window) > lightness(QPalette::WindowText))
        return palette;
    const QColor button = palette.color(QPalette::Disabled, QPalette::Button);
    // Styles paint the upper edge of a button lighter than its colour.
    constexpr int edge = 150;
    const QPair<QPalette::ColorRole, QVector<QColor>> texts[] = {
        {QPalette::WindowText, {palette.color(QPalette::Disabled, QPalette::Window)}},
        {QPalette::Text, {palette.color(QPalette::Disabled, QPalette::Base)}},
        {QPalette::ButtonText, {button, button.lighter(edge)}},
    };
    for (const auto &[role, grounds] : texts) {
        const QColor faint = palette.color(QPalette::Disabled, role);
        const QColor text = readableText(faint, palette.color(QPalette::Active, role), grounds);
        // A role that is set follows the application's palette no more.
        if (text != faint)
            palette.setColor(QPalette::Disabled, role, text);
    }
    return palette;
}
