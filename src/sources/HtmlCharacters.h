#pragma once

#include <QStringView>

namespace kalvo {

// The character an HTML 4 named character reference stands for ("eacute"
// gives é), or XML's "apos"; 0 for any other name. Names are case-sensitive:
// "Eacute" is É.
char16_t htmlNamedCharacter(QStringView name);

// The character a byte stands for in Windows-1252, the encoding browsers
// apply to Western pages labelled ISO-8859-1 or not labelled at all. The five
// bytes it leaves undefined map to the C1 control of the same value.
char16_t windows1252Character(unsigned char byte);

} // namespace kalvo
