#pragma once

#include <QLabel>

// A one-line label that never widens its window: a text longer than the label's width is
// shown cut off with "…", and the whole text is the tooltip. text() is always the whole text.
class ElidedLabel : public QLabel
{
    Q_OBJECT
public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    // True when the text does not fit and is shown shortened.
    bool isElided() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    QString shownText() const;
};
