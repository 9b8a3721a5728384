// SPDX-License-Identifier: MIT
//
// The texts of exports and session files.

#include "app/sessionfile.h"
#include "bench/report.h"
#include "bench/subjects.h"
#include "bench/workload.h"
#include "python/pythonmodule.h"
#include "session/indentedjson.h"
#include "session/modeswriter.h"
#include "session/session.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <functional>

template <typename Work> static Samples repeated(int count, const Work &work)
{
    Samples samples;
    for (int i = 0; i < count; ++i)
        samples.add(milliseconds(work));
    return samples;
}

/// The interpreter's own json.dumps of the same results.
static Samples dumpsTimes(const QVariantList &results)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("results.json")));
    if (!file.open(QIODevice::WriteOnly) || file.write(resultsJson(results)) < 0)
        qFatal("The results could not be written.");
    file.close();
    const QString code = QStringLiteral("import time\n"
                                        "with open('%1') as file:\n"
                                        "    bench_results = json.load(file)\n"
                                        "def bench_dumps():\n"
                                        "    start = time.perf_counter()\n"
                                        "    json.dumps(bench_results)\n"
                                        "    return (time.perf_counter() - start) * 1000\n");
    std::ignore = CPython::execute(code.arg(file.fileName()).toUtf8().constData());
    Samples samples;
    for (int i = 0; i < 7; ++i)
        samples.add(std::stod(CPython::evaluate("bench_dumps()")));
    return samples;
}

/// \a modes results with 10,000 instructions each, all different.
static QVariantList makeResults(const Session &session, int modes)
{
    QVariantList results;
    for (int i = 0; i < modes; ++i) {
        const QVariantMap inputs{
            {QStringLiteral("offset"), QVariantMap{{QStringLiteral("value"), i}}}};
        QVariantMap result = session.generate(inputs);
        result.insert(QStringLiteral("inputs"), inputs);
        const QString name = QStringLiteral("mode%1").arg(i);
        result.insert(QStringLiteral("name"), name);
        QVariantList functions = result.value(QStringLiteral("functions")).toList();
        for (QVariant &element : functions) {
            QVariantMap function = element.toMap();
            const QString key = QStringLiteral("name");
            function.insert(key, QString(function.value(key).toString() + name));
            element = function;
        }
        result.insert(QStringLiteral("functions"), functions);
        for (const char *const key : {"notes", "errors", "parameters"})
            result.insert(QLatin1String(key), result.value(QLatin1String(key)));
        results.append(result);
    }
    return results;
}

static void compareTexts(const QVariantList &results)
{
    report::heading(
        QStringLiteral("Exports of %1 modes, 10,000 instructions each").arg(results.size()));
    const Samples dumps = dumpsTimes(results);
    report::times(QStringLiteral("the interpreter's json.dumps"), dumps);
    const ModesWriter writer(results);
    const std::pair<QString, std::function<QByteArray()>> texts[] = {
        {QStringLiteral("INI text"), [&] { return writer.iniText(); }},
        {QStringLiteral("initializer"), [&] { return writer.initializerPython(); }},
        {QStringLiteral("JSON text"), [&] { return resultsJson(results); }},
    };
    for (const auto &[name, build] : texts) {
        const Samples samples = repeated(7, [&make = build] { std::ignore = make(); });
        report::times(name, samples);
        report::check(
            name + QStringLiteral(" / json.dumps"), samples.median() / dumps.median(), 0.25);
    }
}

static void compareSessionFile(int modes)
{
    SessionDescription description;
    description.modulePath = QStringLiteral("/generators/settings_bench.py");
    for (int i = 0; i < modes; ++i) {
        QVariantMap parameters;
        for (int p = 0; p < 60; ++p) {
            parameters.insert(QStringLiteral("parameter%1").arg(p),
                              QVariantMap{{QStringLiteral("value"), p % 2 ? i + p : i * 0.1}});
        }
        description.allParameters.append(parameters);
    }
    const QByteArray text = sessionFileText(description);
    const QJsonDocument document = QJsonDocument::fromJson(text);
    report::heading(QStringLiteral("Session file of %1 modes, 60 parameters each").arg(modes));
    const Samples parse = repeated(7, [&] { std::ignore = QJsonDocument::fromJson(text); });
    const Samples read = repeated(7, [&] { std::ignore = readSessionFileText(text); });
    const Samples print = repeated(7, [&] { std::ignore = document.toJson(); });
    const Samples write = repeated(7, [&] { std::ignore = sessionFileText(description); });
    report::times(QStringLiteral("reading"), read);
    report::check(
        QStringLiteral("reading / the toolkit's parse"), read.median() / parse.median(), 3);
    report::times(QStringLiteral("writing"), write);
    report::check(
        QStringLiteral("writing / the toolkit's print"), write.median() / print.median(), 3);
}

void benchExports()
{
    PythonModule python;
    python.initialize(L"tarnwick_bench");
    const Workload workload(60, 10000);
    const auto session = workload.session();
    for (const int modes : {5, 50})
        compareTexts(makeResults(*session, modes));
    for (const int modes : {100, 1000})
        compareSessionFile(modes);
}
