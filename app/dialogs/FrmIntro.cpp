#include "app/dialogs/FrmIntro.h"

#include "util/AppInfo.h"

#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>

FrmIntro::FrmIntro(QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
{
    setObjectName(QStringLiteral("FrmIntro"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    auto* frame = new QFrame(this);
    frame->setFrameShape(QFrame::Box);
    frame->setLineWidth(2);
    auto* title = new QLabel(AppInfo::title(), frame);
    QFont big = title->font();
    big.setPointSize(big.pointSize() * 2);
    big.setBold(true);
    title->setFont(big);
    title->setAlignment(Qt::AlignCenter);
    auto* version = new QLabel(QStringLiteral("Version ") + AppInfo::versionText(), frame);
    version->setAlignment(Qt::AlignCenter);
    m_message = new QLabel(frame);
    m_message->setObjectName(QStringLiteral("lblMessage"));
    m_message->setAlignment(Qt::AlignCenter);

    auto* inner = new QVBoxLayout(frame);
    inner->setContentsMargins(30, 24, 30, 24);
    inner->addWidget(title);
    inner->addWidget(version);
    inner->addSpacing(16);
    inner->addWidget(m_message);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(frame);
    setFixedSize(360, 180);
}

QString FrmIntro::Message() const
{
    return m_message->text();
}

void FrmIntro::setMessage(const QString& text)
{
    m_message->setText(text);
}
