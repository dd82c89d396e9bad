#include "daemon/metrics_text.h"

#include <map>
#include <vector>

#include "daemon/status_report.h"

namespace ketra::vspd {
namespace {

constexpr std::string_view kPrefix = "ketra_port_";

// One metric family: all its samples go together, under one HELP and one TYPE line.
struct Family {
  std::string help;
  const char* type = "gauge";
  std::vector<std::string> samples;  // "{labels} value"
};

class Families {
 public:
  Family& Get(const std::string& name, std::string help, const char* type) {
    const auto [found, added] = families_.try_emplace(name);
    if (added) {
      order_.push_back(name);
      found->second.help = std::move(help);
      found->second.type = type;
    }
    return found->second;
  }

  std::string Text() const {
    std::string out;
    for (const std::string& name : order_) {
      const Family& family = families_.at(name);
      out += "# HELP " + name + " " + EscapeHelp(family.help) + "\n";
      out += "# TYPE " + name + " " + family.type + "\n";
      for (const std::string& sample : family.samples) out += name + sample + "\n";
    }
    return out;
  }

 private:
  static std::string EscapeHelp(std::string_view text) {
    std::string out;
    for (const char c : text) {
      if (c == '\\') {
        out += "\\\\";
      } else if (c == '\n') {
        out += "\\n";
      } else {
        out += c;
      }
    }
    return out;
  }

  std::map<std::string, Family> families_;
  std::vector<std::string> order_;  // as first met, so the text reads like the document
};

// A document key as a metric name: anything outside [a-zA-Z0-9_] becomes '_'.
std::string MetricName(std::string_view key) {
  std::string name(kPrefix);
  for (const char c : key) {
    const bool fits = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    name += fits ? c : '_';
  }
  return name;
}

std::string Label(std::string_view name, std::string_view value) {
  return MetricName(name).substr(kPrefix.size()) + "=\"" + EscapeLabelValue(value) + "\"";
}

// The fields of one port (or of an object inside it, under `prefix`).
// A value as a label's text: an array's items joined by commas.
std::string LabelText(const nlohmann::json& value) {
  if (value.is_null()) return "";
  if (value.is_string()) return value.get<std::string>();
  if (!value.is_array()) return value.dump();
  std::string text;
  for (const auto& item : value) text += (text.empty() ? "" : ",") + LabelText(item);
  return text;
}

// The fields of one port. Its own numbers and yes/no are families of their own; its texts,
// and everything in an object inside it (settings such as the program's line), are labels of
// an info family, as Prometheus has it for what describes rather than counts.
void AddPort(Families& families, const std::string& port_label, const std::string& prefix,
             const nlohmann::json& object) {
  std::string info_labels;
  for (const auto& [key, value] : object.items()) {
    const std::string path = prefix + key;
    if (value.is_object()) {
      AddPort(families, port_label, path + "_", value);
      continue;
    }
    const bool quantity = value.is_number() || value.is_boolean();
    if (!prefix.empty() || !quantity) {
      if (prefix.empty() && key == "name") continue;  // the port label itself
      info_labels += "," + Label(path, LabelText(value));
      continue;
    }
    const std::string number = value.is_boolean() ? (value.get<bool>() ? "1" : "0") : value.dump();
    const StatusField* field = FindStatusField(key);
    if (field != nullptr && field->kind == StatusField::Kind::kCounter) {
      families.Get(MetricName(path) + "_total", field->help, "counter")
          .samples.push_back("{" + port_label + "} " + number);
    } else {
      families
          .Get(MetricName(path), field != nullptr ? field->help : "The port's " + path + ".",
               "gauge")
          .samples.push_back("{" + port_label + "} " + number);
    }
  }
  if (info_labels.empty()) return;
  const std::string info = MetricName(prefix + "info");
  families
      .Get(info,
           prefix.empty() ? "The port's link, pty, endpoints and flow as labels; always 1."
                          : "The port's " + prefix.substr(0, prefix.size() - 1) +
                                " settings as labels; always 1.",
           "gauge")
      .samples.push_back("{" + port_label + info_labels + "} 1");
}

}  // namespace

std::string EscapeLabelValue(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    if (c == '\\' || c == '"') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else {
      out += c;
    }
  }
  return out;
}

std::string FormatPrometheus(const nlohmann::json& status) {
  Families families;
  for (const auto& port : status.at("ports")) {
    AddPort(families, Label("port", port.at("name").get<std::string>()), "", port);
  }
  return families.Text();
}

}  // namespace ketra::vspd
