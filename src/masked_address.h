// IPv4 addresses in fields with the input mask "000.000.000.000;0".
#pragma once

#include <QString>

/// "10.0.0.5" as the mask shows it, "010.000.000.005".
QString to_masked_address(const QString& address);

/// "010.000.000.005" as it is stored, "10.0.0.5"; what is no number becomes 0.
QString from_masked_address(const QString& text);
