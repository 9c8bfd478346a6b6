#include "apps/cli/checkviewer.h"

#include "apps/common/standardstreams.h"
#include "apps/viewercheck/viewercheck.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace ov3d::apps {

namespace {

using viewercheck::Findings;
using viewercheck::Rule;
using viewercheck::Verdict;

QString nameOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::ok:
        return QStringLiteral("ok");
    case Verdict::advice:
        return QStringLiteral("advice");
    case Verdict::failed:
        return QStringLiteral("FAILED");
    case Verdict::unchecked:
        break;
    }
    return QStringLiteral("not checked");
}

QString reasonOf(const Findings::Finding& finding)
{
    if (finding.verdict == Verdict::unchecked && finding.text.isEmpty())
        return QStringLiteral("the check did not come that far");
    return finding.text;
}

/// "FAILED: rule-id (what should hold): what was seen"
QString lineFor(Rule rule, const Findings::Finding& finding)
{
    const auto& text = viewercheck::textOf(rule);
    const QString id = QString::fromLatin1(text.id);
    const QString sentence = QString::fromLatin1(text.sentence);
    if (finding.verdict == Verdict::ok)
        return QStringLiteral("ok: %1 (%2)").arg(id, sentence);
    return nameOf(finding.verdict) + QStringLiteral(": %1 (%2): ").arg(id, sentence) + reasonOf(finding);
}

QByteArray asJson(const CheckViewerCommand& command, const Findings& findings)
{
    QJsonArray rules;
    for (int i = 0; i < viewercheck::kRuleCount; ++i) {
        const auto rule = static_cast<Rule>(i);
        const Findings::Finding& finding = findings.of(rule);
        rules.append(QJsonObject{
            {QStringLiteral("rule"), QString::fromLatin1(viewercheck::textOf(rule).id)},
            {QStringLiteral("holds"), QString::fromLatin1(viewercheck::textOf(rule).sentence)},
            {QStringLiteral("verdict"), nameOf(finding.verdict).toLower()},
            {QStringLiteral("reason"),
             finding.verdict == Verdict::ok ? QJsonValue(QJsonValue::Null) : QJsonValue(reasonOf(finding))},
        });
    }
    const QJsonObject report{
        {QStringLiteral("library"), command.library},
        {QStringLiteral("symbol"), command.symbol},
        {QStringLiteral("passed"), findings.allHold()},
        {QStringLiteral("rules"), rules},
    };
    return QJsonDocument(report).toJson();
}

bool printLines(const Findings& findings, const StandardStreams& streams)
{
    for (int i = 0; i < viewercheck::kRuleCount; ++i)
        if (!streams.printLine(lineFor(static_cast<Rule>(i), findings.of(static_cast<Rule>(i)))))
            return false;
    return true;
}

} // namespace

ExitCode runCheckViewer(const CheckViewerCommand& command, const StandardStreams& streams)
{
    viewercheck::Options options;
    options.library = command.library;
    options.symbol = command.symbol;
    options.limit = std::chrono::seconds(command.limitSeconds);
    options.jobs = command.jobs;
    Findings findings;
    QString fault;
    {
        const StandardStreams::Silence silence(streams);
        fault = viewercheck::checkViewer(options, findings);
    }
    if (!fault.isEmpty()) {
        streams.printErrorLine(QStringLiteral("ov3d: %1: cannot be checked: %2").arg(command.library, fault));
        return kExitNoAccess;
    }
    const bool written = command.json ? streams.writeOutput(asJson(command, findings)) : printLines(findings, streams);
    if (!written) {
        streams.printErrorLine(QStringLiteral("ov3d: standard output: cannot be written"));
        return kExitNoAccess;
    }
    return findings.allHold() ? kExitDone : kExitNotShown;
}

} // namespace ov3d::apps
