// Texts on their way between a form and the configuration.
#pragma once

#include <QString>

/// What is stored of a text that was typed or chosen: a character outside Latin-1 becomes '?'.
QString stored_text(const QString& shown);

/// The IPv4 address "10.0.0.5" as a field with the mask "000.000.000.000;0" shows it, "010.000.000.005".
QString to_masked_address(const QString& address);

/// "010.000.000.005" as it is stored, "10.0.0.5"; what is no number becomes 0.
QString from_masked_address(const QString& text);
