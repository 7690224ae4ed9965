// The screen: the title row with its four-letter word and the prompt line, then the text.
#pragma once

void paintdoc(const char *word);
void screenresize();
