#include "Cobaltreel/Shell/InstanceAnswers.hpp"

#include "Cobaltreel/Support/MarkerText.hpp"

#include <QJsonDocument>
#include <QJsonObject>

namespace cobaltreel::InstanceAnswers {

namespace {

using State = RecordingCoordinator::State;

std::string toJson(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

QString nameOf(State state) {
    switch (state) {
        case State::idle:
            return QStringLiteral("idle");
        case State::countdown:
            return QStringLiteral("countdown");
        case State::recording:
            return QStringLiteral("recording");
    }
    return {};
}

}  // namespace

std::string status(const RecordingCoordinator& coordinator, bool isExporting) {
    QJsonObject answer{{QStringLiteral("state"), nameOf(coordinator.state())},
                       {QStringLiteral("exporting"), isExporting}};
    if (coordinator.state() == State::recording) {
        answer[QStringLiteral("elapsed")] = coordinator.elapsed();
        answer[QStringLiteral("markers")] = coordinator.markerCount();
        if (const auto& session = coordinator.session())
            answer[QStringLiteral("session")] = QString::fromStdString(session->dir.string());
    }
    return toJson(answer);
}

std::string mark(RecordingCoordinator& coordinator, const std::string& text) {
    using Marked = RecordingCoordinator::Marked;
    const QString cleaned = MarkerText::cleaned(QString::fromStdString(text));
    const Marked marked = coordinator.mark(cleaned);
    if (marked == Marked::marked)
        return toJson({{QStringLiteral("marked"), true},
                       {QStringLiteral("number"), coordinator.markerCount()},
                       {QStringLiteral("text"), cleaned}});
    return toJson({{QStringLiteral("marked"), false},
                   {QStringLiteral("reason"), marked == Marked::tooMany  ? QStringLiteral("tooMany")
                                              : marked == Marked::ending ? QStringLiteral("ending")
                                                                         : QStringLiteral("notRecording")}});
}

std::string answer(const platform::InstanceRequest& request, RecordingCoordinator& coordinator,
                   bool isExporting) {
    using Kind = platform::InstanceRequest::Kind;
    if (request.kind == Kind::status) return status(coordinator, isExporting);
    if (request.kind == Kind::mark) return mark(coordinator, request.text);
    return {};
}

}  // namespace cobaltreel::InstanceAnswers
