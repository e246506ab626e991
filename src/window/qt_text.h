// Texts between the fields, which hold UTF-8, and the widgets.
#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace corvalissement {

[[nodiscard]] inline QString shown_text(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

[[nodiscard]] inline std::string field_text(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

// A caption is a text, not a mark-up: an ampersand stands for itself and opens no access key.
[[nodiscard]] inline QString caption_text(std::string_view text) {
    return shown_text(text).replace(QLatin1Char('&'), QLatin1String("&&"));
}

// What a print service or a file dialog makes a file name of.
[[nodiscard]] inline QString document_name(std::string_view title) {
    return shown_text(title).replace(QLatin1Char('/'), QLatin1Char('-'));
}

// The path that a dialog for PDF documents gave, with their ending where the user left it out.
[[nodiscard]] inline QString with_pdf_ending(const QString& path) {
    const QLatin1String ending(".pdf");
    return path.endsWith(ending, Qt::CaseInsensitive) ? path : path + ending;
}

} // namespace corvalissement
