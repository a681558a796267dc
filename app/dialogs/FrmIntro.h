#pragma once

#include <QWidget>

class QLabel;

// The splash window shown while the settings load: product name, version and a
// one-line status text.
class FrmIntro : public QWidget
{
    Q_OBJECT
public:
    explicit FrmIntro(QWidget* parent = nullptr);

    QString Message() const;
    void setMessage(const QString& text);

private:
    QLabel* m_message;
};
