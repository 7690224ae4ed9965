// The prelude: the combinators and operators every program starts from, one comma before each
// definition, and its load into freshly emptied tables before each evaluation.
#include "core/tables.h"
#include "lang/stock.h"
#include "lang/chars.h"
#include "lang/parse.h"
#include "lang/program.h"

const char prelude[] =
    ",A\\a\\aS BKK,B\\a\\b\\c\\a b(c),C\\a\\b\\c\\a c b,D\\a\\b\\c\\d\\a b c(d),E\\a\\b\\c\\d\\e\\a b c(d)e,F\\a\\b\\Vb a,G\\a\\VZ BW(BC)DDV(V XJ),H\\a\\I,I\\a\\a,J\\a\\b\\c\\Va b,K\\a\\b\\a,L\\a\\aK K(KH),M\\a\\a a,N\\a\\K,O\\a\\b\\b a(b),P\\a\\a XS I,Q\\a\\aZK,R\\a\\aZH,U\\a\\b\\Ua,S\\a\\b\\c\\a c b(c),T\\a\\b\\b a,V\\a\\b\\c\\c a b,W\\a\\b\\a b b,Z\\a\\Z,X\\a\\b\\c\\d\\Vb a(d)c,Y\\a\\b\\a Ya b,[\\]\\a\\b\\c\\ABCDEFGHIJKLMNOPQRSTUVWXYZ,[{]\\a\\b\\c\\Z,[&]\\q\\r\\q r H,[|]\\q\\r\\qKr,[!]\\VHK,[+]\\plus,[-]\\dash,[*]\\mult,[/]\\over,[%]\\cent,[^]\\powa,[<]\\less,[>]\\gteq,[=]\\same,[#]\\diff,[$]\\buck,[~]\\wave,[.]\\T,[@]\\T,[:]\\I,[?]\\I,[;]\\I,[']\\I,[\"]\\I,[,]\\I";

// The prelude is trusted: each piece is name\body, and nothing is checked.
void preludeparse(Defs &defs) {
  std::string norm = normalise(prelude);
  std::vector<size_t> commas = oppositions(norm, ",");
  for (size_t i = 0; i < commas.size(); i++) {
    size_t end = i + 1 < commas.size() ? commas[i + 1] : norm.size();
    CellRef t = parsetop(norm.substr(commas[i] + 1, end - commas[i] - 1));
    defs.insert_or_assign(namecore(celltextof(t->left->right)), CellRef(t->right));
  }
}

// The checked terms kept from an earlier run serve while the built-ins and layout are the same.
void preludeload() {
  tablesreset();
  deftable();
  freshnames();
  builtins();
  if (!stockprelude(deftable())) preludeparse(deftable());
}
