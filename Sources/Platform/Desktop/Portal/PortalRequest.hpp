#pragma once

#include "Platform/Desktop/Portal/PortalBus.hpp"

#include <QObject>
#include <QVariantMap>
#include <utility>

namespace platform {

/// One request under way; deletes itself once answered.
class PortalRequest final : public QObject {
    Q_OBJECT

  public:
    PortalRequest(QObject* parent, PortalBus::Answered answered)
        : QObject(parent), answered_(std::move(answered)) {}

    void answer(const PortalAnswer& answer) {
        if (const auto answered = std::exchange(answered_, nullptr)) answered(answer);
        deleteLater();
    }

  public Q_SLOTS:
    void Response(uint response, const QVariantMap& results) {
        using Outcome = PortalAnswer::Outcome;
        answer({response == 0   ? Outcome::done
                : response == 1 ? Outcome::cancelled
                                : Outcome::refused,
                results,
                {}});
    }

  private:
    PortalBus::Answered answered_;
};

}  // namespace platform
