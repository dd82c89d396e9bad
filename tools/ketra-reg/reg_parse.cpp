// Reading a REGEDIT4 file into a list of changes: lines joined into statements, then each
// statement checked and turned into one change.
#include "tools/ketra-reg/reg_parse.h"
#include "platform/runtime/status.h"
#include "platform/runtime/strings.h"

#include "platform/runtime/codepage.h"

namespace ketra::regtext {
namespace {

using runtime::Status;

constexpr std::string_view kRootName = "HKEY_LOCAL_MACHINE";
constexpr std::string_view kRootShortName = "HKLM";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view TrimBlanks(std::string_view s) { return runtime::TrimAny(s, " \t"); }

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Physical lines joined into statements. In a value line, a line that ends in a backslash
// outside quotes goes on in the next line (its leading blanks dropped), and a line end inside
// quotes belongs to the text as it stands, CR LF or LF: an exported text holding CR LF reads
// back the same. Key lines and comments are one line each.
struct Statement {
  int line = 0;
  std::string text;
};

std::vector<Statement> JoinLines(std::string_view file) {
  std::vector<Statement> statements;
  Statement current;
  bool open = false;      // a value line is being continued
  bool in_quote = false;  // inside a quoted text at the end of the last line
  int line_number = 0;
  std::size_t pos = 0;
  while (pos < file.size()) {
    std::size_t end = file.find('\n', pos);
    std::string_view line = file.substr(pos, end == std::string_view::npos ? end : end - pos);
    pos = end == std::string_view::npos ? file.size() : end + 1;
    const bool crlf = !line.empty() && line.back() == '\r';
    if (crlf) line.remove_suffix(1);
    ++line_number;
    if (!open) {
      current = Statement{line_number, {}};
      std::string_view first = TrimBlanks(line);
      if (first.empty() || (first.front() != '"' && first.front() != '@')) {
        current.text = line;
        statements.push_back(std::move(current));
        continue;
      }
    } else if (in_quote) {
      current.text += '\n';
    } else {
      while (!line.empty() && IsBlank(line.front())) line.remove_prefix(1);
    }
    bool escaped = false;
    for (char c : line) {
      if (!in_quote) {
        in_quote = c == '"';
      } else if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        in_quote = false;
      }
    }
    open = in_quote;
    if (!in_quote) {
      std::string_view trimmed = line;
      while (!trimmed.empty() && IsBlank(trimmed.back())) trimmed.remove_suffix(1);
      if (!trimmed.empty() && trimmed.back() == '\\') {
        line = trimmed.substr(0, trimmed.size() - 1);
        open = true;
      }
    }
    current.text += line;
    if (in_quote && crlf) current.text += '\r';
    if (!open) statements.push_back(std::move(current));
  }
  if (open) statements.push_back(std::move(current));
  return statements;
}

// Reads a quoted text at the start of `s`; `s` moves past it.
Status ReadQuoted(std::string_view* s, std::string* text) {
  if (s->empty() || s->front() != '"') {
    return Status::InvalidArgument("a quoted text was expected");
  }
  std::string utf8;
  std::size_t i = 1;
  for (; i < s->size(); ++i) {
    char c = (*s)[i];
    if (c == '"') break;
    if (c == '\\') {
      if (i + 1 >= s->size() || ((*s)[i + 1] != '\\' && (*s)[i + 1] != '"')) {
        return Status::InvalidArgument(
            "only \\\\ and \\\" may follow a backslash in a quoted text");
      }
      c = (*s)[++i];
    }
    utf8 += c;
  }
  if (i >= s->size()) {
    return Status::InvalidArgument("the quoted text has no closing quote");
  }
  s->remove_prefix(i + 1);
  *text = runtime::Utf8ToAnsi(utf8);
  return Status::Ok();
}

Status ReadHexBytes(std::string_view s, std::vector<std::uint8_t>* data) {
  data->clear();
  s = TrimBlanks(s);
  if (s.empty()) return Status::Ok();
  std::size_t pos = 0;
  for (;;) {
    std::size_t comma = s.find(',', pos);
    std::string_view item =
        TrimBlanks(s.substr(pos, comma == std::string_view::npos ? comma : comma - pos));
    if (item.empty() || item.size() > 2 || HexValue(item[0]) < 0 ||
        (item.size() == 2 && HexValue(item[1]) < 0)) {
      return Status::InvalidArgument("bad byte \"" + std::string(item) + "\" in a hex list");
    }
    int value = HexValue(item[0]);
    if (item.size() == 2) value = value * 16 + HexValue(item[1]);
    data->push_back(static_cast<std::uint8_t>(value));
    if (comma == std::string_view::npos) return Status::Ok();
    pos = comma + 1;
  }
}

Status ParseData(std::string_view s, RegChange* change) {
  s = TrimBlanks(s);
  if (s == "-") {
    change->kind = RegChange::Kind::kDeleteValue;
    return Status::Ok();
  }
  change->kind = RegChange::Kind::kSetValue;
  if (!s.empty() && s.front() == '"') {
    std::string text;
    if (Status read = ReadQuoted(&s, &text); !read.ok()) return read;
    if (!TrimBlanks(s).empty()) {
      return Status::InvalidArgument("unexpected text after the quoted value");
    }
    change->type = registry::kRegSz;
    change->data.assign(text.begin(), text.end());
    change->data.push_back(0);
    return Status::Ok();
  }
  if (runtime::StartsWithNoCase(s, "dword:")) {
    std::string_view digits = s.substr(6);
    if (digits.empty() || digits.size() > 8) {
      return Status::InvalidArgument("a dword needs 1 to 8 hexadecimal digits");
    }
    std::uint32_t value = 0;
    for (char c : digits) {
      if (HexValue(c) < 0) {
        return Status::InvalidArgument("a dword needs 1 to 8 hexadecimal digits");
      }
      value = value * 16 + static_cast<std::uint32_t>(HexValue(c));
    }
    change->type = registry::kRegDword;
    change->data = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                    static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
    return Status::Ok();
  }
  if (runtime::StartsWithNoCase(s, "hex:")) {
    change->type = registry::kRegBinary;
    return ReadHexBytes(s.substr(4), &change->data);
  }
  if (runtime::StartsWithNoCase(s, "hex(")) {
    std::size_t close = s.find("):");
    std::string_view digits = close == std::string_view::npos ? "" : s.substr(4, close - 4);
    std::uint32_t type = 0;
    bool good = !digits.empty() && digits.size() <= 8;
    for (char c : digits) {
      good = good && HexValue(c) >= 0;
      if (good) type = type * 16 + static_cast<std::uint32_t>(HexValue(c));
    }
    if (!good) {
      return Status::InvalidArgument("hex(T): needs a type T of 1 to 8 hexadecimal digits");
    }
    change->type = type;
    return ReadHexBytes(s.substr(close + 2), &change->data);
  }
  return Status::InvalidArgument("the value is none of \"TEXT\", dword:, hex:, hex(T): or -");
}

}  // namespace

bool RelativeKeyPath(std::string_view full_path, std::string* relative) {
  std::string_view rest;
  for (std::string_view root : {kRootName, kRootShortName}) {
    if (runtime::StartsWithNoCase(full_path, root) &&
        (full_path.size() == root.size() || full_path[root.size()] == '\\')) {
      rest = full_path.substr(root.size());
      if (!rest.empty()) rest.remove_prefix(1);
      if (full_path.size() > root.size() && rest.empty()) return false;
      *relative = runtime::Utf8ToAnsi(rest);
      if (!relative->empty() && relative->front() == '\\') return false;
      for (std::size_t i = 0; i < relative->size(); ++i) {
        if ((*relative)[i] == '\\' && (i + 1 == relative->size() || (*relative)[i + 1] == '\\')) {
          return false;
        }
      }
      return true;
    }
  }
  return false;
}

bool ParseText(std::string_view text, std::vector<RegChange>* changes, ParseError* error) {
  changes->clear();
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  bool header_seen = false;
  bool in_key = false;  // values may follow
  std::string key;
  for (const Statement& statement : JoinLines(text)) {
    std::string_view s = TrimBlanks(statement.text);
    auto fail = [&](std::string message) {
      error->line = statement.line;
      error->message = std::move(message);
      return false;
    };
    if (s.empty()) continue;
    if (!header_seen) {
      if (s != "REGEDIT4") return fail("the file must begin with the line REGEDIT4");
      header_seen = true;
      continue;
    }
    if (s.front() == ';') continue;
    if (s.front() == '[') {
      if (s.back() != ']') return fail("a key line must end with ]");
      std::string_view path = s.substr(1, s.size() - 2);
      const bool remove = !path.empty() && path.front() == '-';
      if (remove) path.remove_prefix(1);
      if (!RelativeKeyPath(path, &key)) {
        return fail("the key path must start with HKEY_LOCAL_MACHINE and have no empty part");
      }
      RegChange change;
      change.kind = remove ? RegChange::Kind::kDeleteKey : RegChange::Kind::kOpenKey;
      change.line = statement.line;
      change.key = key;
      changes->push_back(std::move(change));
      in_key = !remove;
      continue;
    }
    if (s.front() != '"' && s.front() != '@') {
      return fail("a line must be a key in [ ], a value, a comment or empty");
    }
    if (!in_key) return fail("a value must follow a key line");
    RegChange change;
    change.line = statement.line;
    change.key = key;
    if (s.front() == '@') {
      s.remove_prefix(1);
    } else if (Status read = ReadQuoted(&s, &change.name); !read.ok()) {
      return fail(read.message());
    }
    s = TrimBlanks(s);
    if (s.empty() || s.front() != '=') return fail("= must follow the value's name");
    s.remove_prefix(1);
    if (Status data = ParseData(s, &change); !data.ok()) return fail(data.message());
    changes->push_back(std::move(change));
  }
  if (!header_seen) {
    error->line = 1;
    error->message = "the file must begin with the line REGEDIT4";
    return false;
  }
  return true;
}

}  // namespace ketra::regtext
