// The name and the logo that a site may put in the place of the built-in ones: two files in the working
// directory, app_name.txt and app_logo.png.
#pragma once

#include <QPixmap>
#include <QString>

#include <optional>

class QLabel;

inline const QString site_logo_file = QStringLiteral("app_logo.png");

/// The file's whole text, line breaks included; nothing without the file.
std::optional<QString> site_name();

/// The picture; empty when the file holds none, nothing without the file.
std::optional<QPixmap> site_logo();

/// Shows the logo instead of the label's own image, smaller where it does not fit the label's least size.
void show_logo(QLabel& symbol, const QPixmap& logo);

/// Shows what the site has of both.
void show_branding(QLabel& symbol, QLabel& name);
