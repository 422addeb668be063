// A small installation for the tests of the translators' round trip: the
// manager "shop" audited in en and ru, the findings of that run and the
// message files as they were then.
#ifndef FIX_PO_TESTDATA_H_
#define FIX_PO_TESTDATA_H_

#include <sstream>
#include <string>
#include <vector>

#include "fix/fixer.h"
#include "support/scratch_dir.h"

namespace po_testdata {

inline const char kEn[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<pnldata>\n"
    "  <lang name=\"en\">\n"
    "    <messages name=\"desktop\">\n"
    "      <msg name=\"menu_order\">Orders</msg>\n"
    "      <msg name=\"menu_stock\">Stock</msg>\n"
    "    </messages>\n"
    "    <messages name=\"order\">\n"
    "      <msg name=\"title\">Order</msg>\n"
    "      <msg name=\"sum\">Sum</msg>\n"
    "      <msg name=\"hint_sum\">The sum, with tax</msg>\n"
    "      <msg name=\"note\">Note</msg>\n"
    "    </messages>\n"
    "  </lang>\n"
    "</pnldata>\n";

// "Заказы", "Заказ".
inline const char kRu[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<pnldata>\n"
    "  <lang name=\"ru\">\n"
    "    <messages name=\"desktop\">\n"
    "      <msg name=\"menu_order\">\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7\xd1\x8b</msg>\n"
    "      <msg name=\"menu_stock\" added=\"msglint-fix\" todo=\"translate\"></msg>\n"
    "    </messages>\n"
    "    <!-- the order form -->\n"
    "    <messages name=\"order\">\n"
    "      <msg name=\"title\">\xd0\x97\xd0\xb0\xd0\xba\xd0\xb0\xd0\xb7</msg>\n"
    "      <msg name=\"sum\"></msg>\n"
    "      <msg name=\"note\"/>\n"
    "    </messages>\n"
    "  </lang>\n"
    "</pnldata>\n";

// One finding of a message missing or empty, as a run writes it.
inline std::string Finding(int id, const std::string& kind, const std::string& lang,
                           const std::string& name, const std::string& element,
                           int line) {
  return "{\"id\": " + std::to_string(id) + ", \"kind\": \"" + kind +
         "\", \"level\": \"error\", \"audit\": \"missing-messages\", "
         "\"manager\": \"shop\", \"object\": \"order\", \"element\": "
         "{\"type\": \"field\", \"name\": \"" + element + "\"}, \"language\": \"" +
         lang + "\", \"result_bit\": 2, \"message\": {\"name\": \"" + name +
         "\", \"section\": \"order\", \"file\": \"etc/xml/shop_msg_" + lang +
         ".xml\", \"add\": null}, \"location\": {\"file\": \"etc/xml/shop.xml\", "
         "\"line\": " + std::to_string(line) + "}, \"report\": \"\", "
         "\"audit_line\": null, \"input_problem\": false}";
}

inline const std::string kFindings =
    "{\"schema\": \"msglint-findings\", \"version\": 1,\n"
    " \"run\": {\"manager\": \"shop\", \"mode\": \"full\", "
    "\"arguments\": [\"-f\", \"en\", \"ru\"], \"languages\": [\"en\", \"ru\"]},\n"
    " \"statistics\": [], \"input_problems\": [],\n"
    " \"findings\": [\n" +
    Finding(1, "missing-hint", "en", "hint_gift", "gift", 11) + ",\n" +
    Finding(2, "missing-hint", "ru", "hint_sum", "sum", 7) + ",\n" +
    Finding(3, "empty-label", "ru", "sum", "sum", 7) + ",\n" +
    Finding(4, "empty-label", "ru", "note", "note", 9) + ",\n" +
    Finding(5, "missing-checkbox-description", "ru", "gift_desc", "gift", 11) + "\n"
    "]}\n";

// The installation, laid out in a scratch directory that is the current
// directory while the fixture lives, and the fixer run in it.
class Shop {
 public:
  Shop() {
    dir_.Write("etc/xml/shop_msg_en.xml", kEn);
    dir_.Write("etc/xml/shop_msg_ru.xml", kRu);
    dir_.Write("var/msglint/findings.json", kFindings);
  }

  // Runs the fixer with `args`; its status. What it printed is in out()
  // and err().
  int Fix(const std::vector<std::string>& args) {
    fix::FixOptions options;
    bool help = false;
    std::string error;
    if (!fix::ParseFixArguments(args, &options, &help, &error)) {
      err_ = error;
      return -1;
    }
    std::ostringstream out, err;
    int status = fix::RunFix(options, out, err);
    out_ = out.str();
    err_ = err.str();
    return status;
  }

  const testing_support::ScratchDir& dir() const { return dir_; }
  const std::string& out() const { return out_; }
  const std::string& err() const { return err_; }

 private:
  testing_support::ScratchDir dir_;
  std::string out_;
  std::string err_;
};

}  // namespace po_testdata

#endif  // FIX_PO_TESTDATA_H_
