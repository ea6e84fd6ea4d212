#pragma once

#include <QByteArray>
#include <QString>

// Lays report HTML out with Qt's rich-text engine and writes it as a PDF of exactly one
// page: as wide as A4 and as tall as the laid-out document, so that nothing is split.
// Needs a QGuiApplication (fonts); the offscreen platform serves on servers.
class FXReportRenderer
{
public:
    // A4 width; QPageSize keeps whole points.
    static constexpr double pageWidthPoints = 595.0;

    // The PDF bytes; empty when the document could not be written.
    static QByteArray pdfForHTML(const QString &html);
};
