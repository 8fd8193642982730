#include "Cobaltreel/Capture/DeviceNotice.hpp"

#include "Cobaltreel/Support/Strings.hpp"

namespace cobaltreel {

QString noticeOf(const platform::CaptureEvent& event) {
    using Kind = platform::CaptureEvent::Kind;
    const auto text = [&] {
        switch (event.kind) {
            case Kind::lost:
                return S::deviceLost();
            case Kind::returned:
                return S::deviceReturned();
            case Kind::failed:
                return S::deviceFailed();
            case Kind::unreadable:
                return S::pictureUnreadable();
            case Kind::stalled:
                return event.device.type == platform::MediaType::video ? S::pictureMissing()
                                                                       : S::soundMissing();
            case Kind::silent:
                return S::microphoneSilent();
        }
        return QString();
    };
    return text().arg(QString::fromStdString(event.device.name));
}

}  // namespace cobaltreel
