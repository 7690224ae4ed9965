// The random programs of the machine comparison and the runs that compare them. Expressions are
// made by the kind of value they should give, so that counts stay small integers and every
// recursion ends; a wrong guess only gives Z, which compares as well as anything.
#include "tests/lang/progen.h"

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct Gen {
  uint64_t state;
  std::vector<std::string> numvars, anyvars, funs;  // in scope; funs take (count, value)
  std::string defs;
  bool effects = false;
  int letters = 0;

  uint64_t next() {  // splitmix64, the same sequence on every platform
    uint64_t z = (state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  int pick(int n) { return (int)(next() % (uint64_t)n); }
  bool chance(int percent) { return pick(100) < percent; }
  std::string fresh() { return std::string(1, "abcdeghmpqrsuvwxyz"[letters++ % 18]); }

  std::string num(int d);
  std::string text(int d);
  std::string truth(int d);
  std::string list(int d);
  std::string fun(int d);
  std::string any(int d);
  std::string let(int d, std::string (Gen::*body)(int));
  std::string define(int d);
};

const char *smallnums[] = {"0", "1", "2", "3", "5", "7", "12", "05", "01", "0", "100"};

std::string Gen::num(int d) {
  if (d <= 0 || chance(20)) {
    if (!numvars.empty() && chance(50)) return numvars[(size_t)pick((int)numvars.size())];
    switch (pick(6)) {
      case 0: return "(2^" + std::to_string(60 + pick(40)) + ")";
      case 1: return "(real " + std::string(smallnums[pick(11)]) + ")";
      case 2: return "(2^0" + std::to_string(1 + pick(3)) + ")";
      default: return smallnums[pick(11)];
    }
  }
  const char *ops[] = {"+", "-", "*", "/", "%", "+", "-"};
  switch (pick(12)) {
    case 0: case 1: case 2: return "(" + num(d - 1) + ops[pick(7)] + num(d - 1) + ")";
    case 3: return "(" + truth(d - 1) + ")(" + num(d - 1) + ")(" + num(d - 1) + ")";
    case 4: return let(d, &Gen::num);
    case 5: return "(~" + num(d - 1) + ")";
    case 6: return "(" + num(d - 1) + "^" + std::to_string(pick(4)) + ")";
    case 7: return "(len(" + list(d - 1) + "))";
    case 8: return chance(50) ? "(sum (" + list(d - 1) + ") " + num(d - 1) + ")"
                              : "(vsum (vmk " + std::to_string(pick(5)) + ") " + num(d - 1) + ")";
    case 9: return funs.empty() ? num(d - 1) : "(" + funs[(size_t)pick((int)funs.size())] + " " + std::to_string(pick(4)) + " " + num(d - 1) + ")";
    case 10: return "((" + fun(d - 1) + ")(" + num(d - 1) + "))";
    default: return "(strlen " + text(d - 1) + ")";
  }
}

std::string Gen::text(int d) {
  const char *words[] = {"[ab]", "[]", "[tolm]", "[x y]", "[[q]]"};
  if (d <= 0 || chance(25)) return words[pick(5)];
  switch (pick(6)) {
    case 0: return "(" + text(d - 1) + "+" + text(d - 1) + ")";
    case 1: return "(" + text(d - 1) + "+" + num(d - 1) + ")";
    case 2: return "(" + text(d - 1) + "-" + std::to_string(pick(3)) + ")";
    case 3: return "(type " + any(d - 1) + ")";
    case 4: return "(" + truth(d - 1) + ")(" + text(d - 1) + ")(" + text(d - 1) + ")";
    default: return let(d, &Gen::text);
  }
}

std::string Gen::truth(int d) {
  if (d <= 0 || chance(15)) return chance(50) ? "K" : "H";
  const char *cmp[] = {"<", ">", "=", "#"};
  switch (pick(8)) {
    case 0: case 1: case 2: return "(" + num(d - 1) + cmp[pick(4)] + num(d - 1) + ")";
    case 3: {
      std::string v = anyvars.empty() ? num(d - 1) : anyvars[(size_t)pick((int)anyvars.size())];
      const char *words[] = {"raws", "same", "diff"};
      return "(" + std::string(words[pick(3)]) + " " + v + " " + (chance(50) ? v : any(d - 1)) + ")";
    }
    case 4: return "(raws (" + any(d - 1) + ") (" + any(d - 1) + "))";
    case 5: return "(!" + truth(d - 1) + ")";
    case 6: return "(" + truth(d - 1) + (chance(50) ? "&" : "|") + truth(d - 1) + ")";
    default: return "(same " + text(d - 1) + " " + text(d - 1) + ")";
  }
}

std::string Gen::list(int d) {
  if (d <= 0 || chance(20)) return chance(30) ? "K" : "(mk " + std::to_string(pick(5)) + ")";
  switch (pick(4)) {
    case 0: return "(J " + num(d - 1) + " " + list(d - 1) + ")";
    case 1: return "(map (" + fun(d - 1) + ") " + list(d - 1) + ")";
    case 2: return "(" + truth(d - 1) + ")(" + list(d - 1) + ")(" + list(d - 1) + ")";
    default: return let(d, &Gen::list);
  }
}

std::string Gen::fun(int d) {
  if (d <= 0 || chance(20)) return chance(50) ? "plus 1" : "mult 2";
  switch (pick(5)) {
    case 0: {
      std::string v = fresh();
      numvars.push_back(v);
      anyvars.push_back(v);
      std::string body = num(d - 1);
      numvars.pop_back();
      anyvars.pop_back();
      return v + "\\" + body;
    }
    case 1: return "twice (" + fun(d - 1) + ")";
    case 2: return "comp (" + fun(d - 1) + ") (" + fun(d - 1) + ")";
    case 3: return chance(50) ? "dash " + num(d - 1) : "adder (" + num(d - 1) + ")";
    default: return "(" + truth(d - 1) + ")(" + fun(d - 1) + ")(" + fun(d - 1) + ")";
  }
}

std::string Gen::any(int d) {
  switch (pick(14)) {
    case 0: return text(d);
    case 1: return truth(d);
    case 2: return list(d);
    case 3: return "(" + fun(d) + ")";
    case 4: return "(V " + num(d - 1) + " " + any(d - 1) + ")";
    case 5: return "(K (" + num(d - 1) + "))";  // a partial application left in the result
    case 6: return "(J (" + num(d - 1) + "))";
    case 7: return "(pair " + num(d - 1) + " " + num(d - 1) + " K)";  // a linear result that takes a waiting argument
    case 8: return "(I I (" + any(d - 1) + "))";
    case 9: return effects ? "(y{wr " + text(d - 1) + "}" + any(d - 1) + ")" : num(d);
    case 10: return std::string("(c") + "abc"[pick(3)] + ")";
    case 11: return "(sel (" + truth(d - 1) + ") (" + any(d - 1) + ") (" + any(d - 1) + "))";
    case 12: return "(load [fx " + std::to_string(pick(9)) + ",fx\\a\\(a<3)(a*a)(fx(a-1))])";
    default: return num(d);
  }
}

// x{value}body, or (x\body) value: the value first, then the body with x bound.
std::string Gen::let(int d, std::string (Gen::*body)(int)) {
  std::string v = fresh();
  std::string value = chance(60) ? num(d - 1) : any(d - 1);
  anyvars.push_back(v);
  if (value[0] != '[') numvars.push_back(v);
  std::string b = (this->*body)(d - 1);
  anyvars.pop_back();
  if (value[0] != '[') numvars.pop_back();
  return chance(50) ? "(" + v + "{" + value + "}" + b + ")" : "((" + v + "\\" + b + ")(" + value + "))";
}

// A function of a count and a value that calls itself on a smaller count.
std::string Gen::define(int d) {
  std::string name = "f" + std::string(1, (char)('a' + funs.size()));
  numvars = {"n", "x"};
  anyvars = {"n", "x"};
  std::string base = num(d), again = "(" + name + "(n-1)(" + num(d - 1) + "))";
  std::string step = chance(50) ? "(" + again + "+" + num(d - 1) + ")" : "(" + num(d - 1) + "*" + again + ")";
  numvars.clear();
  anyvars.clear();
  funs.push_back(name);
  return "," + name + "\\n\\x\\(n<1)(" + base + ")(" + step + ")";
}

const char *library =
    ",mk\\n\\(n<1)K(J n (mk(n-1)))"
    ",len\\l\\l I (h\\t\\K(1+len(t))) 0"
    ",sum\\l\\s\\l I (h\\t\\K(sum t (s+h))) s"
    ",map\\f\\l\\l I (h\\t\\K(J (f h) (map f t))) K"
    ",twice\\f\\x\\f(f x)"
    ",comp\\f\\g\\x\\f(g x)"
    ",pair\\a\\b\\V (a+1) (b*2)"
    ",vmk\\n\\(n<1)H(V n (vmk(n-1)))"
    ",vsum\\l\\s\\l(a\\b\\c\\vsum b (s+a))s"
    ",adder\\n\\x\\x+n"
    ",sel\\b\\x\\y\\b x y"
    ",ca\\mk 3,cb\\[a]+ca,cc()\\V 1 2";

// Texts that the front end refuses, or that fail while running.
const char *broken[] = {",x\\3", ",plus\\2", ",q\\a\\b\\c\\d\\e\\f\\g\\h\\i\\j\\k\\1", " + nothere",
                        ",cy\\cy+1,_\\cy", ",qq\\a\\a+b", "(", ",[{]\\5", ",K\\a\\b\\b", ",T\\a\\b\\a b"};

}  // namespace

std::string makeprogram(uint64_t seed) {
  Gen g{seed * 0x2545F4914F6CDD1Dull + 1};
  g.effects = g.chance(40);
  std::string defs;
  for (int i = g.pick(3); i > 0; i--) defs += g.define(2);
  int d = 2 + g.pick(3);
  std::string main = g.chance(50) ? g.any(d) : g.num(d);
  if (g.effects) {
    main = "(y{wr [first]}" + main + ")";
    defs += ",out\\fileno(fopen (init [@OUT@]) (init [w])),wr\\s\\write out s (strlen s)";
  }
  std::string text = main + defs + library;
  if (g.chance(6)) text += broken[g.pick(10)];
  return text;
}

static std::string slurp(const std::string &path) {
  std::string s;
  if (FILE *f = fopen(path.c_str(), "rb")) {
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, f)) > 0) s.append(buf, n);
    fclose(f);
  }
  return s;
}

Seen runseen(const std::string &program, bool reference, const std::string &outpath, unsigned seconds) {
  std::string text = program;
  for (size_t at; (at = text.find("@OUT@")) != std::string::npos;) text.replace(at, 5, outpath);
  std::string src = outpath + ".tl", out = outpath + ".stdout", err = outpath + ".stderr";
  if (FILE *f = fopen(src.c_str(), "wb")) {
    fwrite(text.data(), 1, text.size(), f);
    fclose(f);
  }
  unlink(outpath.c_str());
  std::string command = "timeout " + std::to_string(seconds) + " " + TOLMRUN_BIN +
                        (reference ? " --reference " : " ") + src + " >" + out + " 2>" + err;
  int status = system(command.c_str());
  Seen s;
  s.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  s.printed = slurp(out);
  s.err = slurp(err);
  s.file = slurp(outpath);
  if (s.err.starts_with("where ")) s.where = atoll(s.err.c_str() + 6);
  for (const std::string &p : {src, out, err, outpath}) unlink(p.c_str());
  return s;
}

std::string difference(const Seen &fast, const Seen &reference) {
  if (fast.printed != reference.printed) return "printed [" + fast.printed + "] against [" + reference.printed + "]";
  if (fast.exit != reference.exit) return "exit " + std::to_string(fast.exit) + " against " + std::to_string(reference.exit);
  if (fast.err != reference.err) return "stderr [" + fast.err + "] against [" + reference.err + "]";
  if (fast.file != reference.file) return "file [" + fast.file + "] against [" + reference.file + "]";
  return "";
}
