#include "advert_sender.h"

#include "time/clock.h"

#include <chrono>
#include <memory>

using namespace std::chrono_literals;

AdvertSender::AdvertSender(QObject* parent)
    : ControllerBoundObject(parent) {}

AdvertSender::~AdvertSender() {
    if (controller() && controller()->clock()) {
        for (std::uint64_t timer : std::as_const(m_sentTimers))
            controller()->clock()->cancel(timer);
    }
}

void AdvertSender::setKind(int kind) {
    if (m_kind == kind || (kind != 0 && kind != 1))
        return;
    m_kind = kind;
    Q_EMIT kindChanged();
}

void AdvertSender::send() {
    if (controller())
        run(std::uint8_t(m_kind));
}

QCoro::Task<void> AdvertSender::run(std::uint8_t kind) {
    QPointer<AdvertSender> self(this);
    QPointer<MeshController> controller = this->controller();
    co_await controller->sendAdvert(kind);
    if (!self || !controller)
        co_return;
    setSent(true);
    const auto timer = std::make_shared<Clock::TimerId>(0);
    *timer = controller->clock()->schedule(2s, [self, timer] {
        if (!self)
            return;
        self->m_sentTimers.removeOne(*timer);
        self->setSent(false);
    });
    m_sentTimers.append(*timer);
}

void AdvertSender::setSent(bool sent) {
    if (m_sent == sent)
        return;
    m_sent = sent;
    Q_EMIT sentChanged();
}
