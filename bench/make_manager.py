#!/usr/bin/env python3
"""Writes a manager that looks like a real one into an installation.

    make_manager.py DIR NAME OBJECTS [SEED] [--hostile] [--realistic]

DIR/etc/xml/ gets NAME.xml, NAME_msg_{en,ru,fr,de}.xml and the base
manager's kern.xml, kern_msg_{en,ru,fr,de}.xml. NAME has OBJECTS objects:
about 55% forms (fields in the form and in pages: text inputs, check boxes,
selects, domain inputs, text data, hidden and full-width fields) and 45%
lists (columns with colours and properties, toolbars), a main menu, a common
section and shared sections that objects include, some of them through
another shared section. kern has objects of its own and its common section.

The catalogs have the gaps real ones have: English is nearly complete,
German, French and Russian leave about 5%, 20% and 35% of their messages
untranslated, some missing and some empty; a few hints are missing in every
language, so a full run asks the panel for checked files about once per 1.6
objects. Texts are real-looking: Cyrillic, accents, quotes and apostrophes,
"%s", ampersands, CDATA and long hints. A few objects carry the defects the
other audits look for (text inputs without a validator, wrong colours,
columns without hints, unused messages, missing includes).

With --hostile, some list, form, column, field and section names, and so
the message names made from them, are written with references and blanks
that the parser replaces or normalises (&amp; &lt; &quot; &#9; &#10;, a
literal tab, a literal newline), and two more languages have message files:
"a&b" (written "a&amp;b") and "t<TAB>b" (written "t&#9;b"); their texts are
English and French ones. Every name is written the same way wherever it
stands, so the documents agree with each other as the plain ones do.

With --realistic, the catalogs are like those of a manager that grew for
years, and a full run reports about as much as on such a manager: much of
what the forms and lists show has no message in any language (toolbar
buttons and column hints above all, some field hints and check box
descriptions), forms and lists keep the messages of elements they lost
(about 30% of the messages the audits read are unused), the same words are
used over and over (about 25% of the messages have a text that another one
has too, empty ones included), texts are short (30 to 36 characters on
average) and English, German, French and Russian leave about 5, 11, 21 and
34% of the messages untranslated (70% of those missing, the rest empty).
At 1000 objects that is about 18,000 messages per language and 7 MB of
XML. Objects are named as without it, shared sections include none other,
and --hostile adds its names and languages alike.

The output depends only on the arguments: the same arguments give the same
bytes with any Python 3.
"""
import os
import sys
from xml.sax.saxutils import escape

LANGS = ("en", "ru", "fr", "de")
# The languages that --hostile adds: the name a file and a command line
# give, the name as the message file writes it, and the language whose
# words and gaps it has.
HOSTILE_LANGS = (("a&b", "a&amp;b", "en"), ("t\tb", "t&#9;b", "fr"))
# Names that --hostile puts among the usual ones, as written in the files.
HOSTILE_NOUNS = ["q&amp;a", "lt&lt;gt", "say&quot;hi", "tab&#9;x", "nl&#10;x",
                 "lit\ttab", "lit\nnl"]
HOSTILE_FIELDS = ["f&amp;g", "f&lt;g", "f&quot;g", "f&#9;g", "f&#10;g", "f\tg", "f\ng"]
HOSTILE_COLUMNS = ["c&amp;d", "c&lt;d", "c&quot;d", "c&#9;d", "c&#10;d", "c\td", "c\nd"]

# The share of a language's messages left untranslated.
UNTRANSLATED = {"en": 0.01, "de": 0.05, "fr": 0.20, "ru": 0.35}
# Of the untranslated messages, the share missing (the rest is empty).
MISSING_SHARE = 0.6
# The share of hinted fields whose hint no language has.
HINT_NEVER_WRITTEN = 0.24


class Rng:
    """A small linear congruential generator: the same sequence on every
    Python, whatever its random module does."""

    def __init__(self, seed):
        self.state = (seed * 6364136223846793005 + 1442695040888963407) % 2**64

    def random(self):
        self.state = (self.state * 6364136223846793005 + 1442695040888963407) % 2**64
        return (self.state >> 11) / float(2**53)

    def below(self, n):
        return int(self.random() * n)

    def chance(self, p):
        return self.random() < p

    def choice(self, items):
        return items[self.below(len(items))]


NOUNS = ["user", "domain", "mailbox", "site", "db", "cert", "backup", "firewall", "dns",
         "ftp", "cron", "proxy", "vhost", "alias", "quota", "plan", "reseller", "ip",
         "service", "package", "ticket", "invoice", "payment", "account", "group",
         "session", "log", "stat", "task", "storage", "disk", "node", "cluster", "vm",
         "license", "module", "theme", "locale", "zone", "record", "rule", "filter_chain",
         "queue", "sender", "recipient", "spam", "antivirus", "webmail", "redirect", "php"]
FORM_SUFFIXES = ["edit", "settings", "details", "new", "import", "export", "params"]

FIELD_NAMES = ["name", "comment", "owner", "email", "password", "quota", "limit", "ip",
               "port", "path", "home", "shell", "lang", "theme", "timeout", "priority",
               "ttl", "value", "note", "descr", "expire", "created", "status", "size",
               "maxconn", "charset", "encoding", "template", "url", "host", "login",
               "group", "phone", "address", "city", "country", "zip", "company", "period",
               "hour", "minute", "weekday", "action", "target", "source", "mask"]
CHECKBOX_NAMES = ["active", "ssl", "autoreply", "notify", "backup", "readonly", "cgi",
                  "php", "ssi", "logrotate", "dkim", "greylist", "public", "forward"]
COLUMN_NAMES = ["name", "owner", "status", "size", "ip", "created", "expire", "type",
                "count", "used", "limit", "state", "descr", "host", "port", "user"]
BUTTONS = ["new", "edit", "delete", "enable", "disable", "back"]

WORDS = {
    "en": ["name", "address", "user", "settings", "mail", "domain", "server", "disk",
           "limit", "password", "owner's", "don't", "enabled", "record", "backup",
           "schedule", "time", "access", "rights", "size", "file", "directory",
           "certificate", "key", "value", "comment", "database", "service", "rule"],
    "ru": ["имя", "адрес", "пользователь", "настройки", "почта", "домен", "сервер",
           "диск", "лимит", "пароль", "владелец", "включено", "запись", "резервная",
           "копия", "расписание", "время", "доступ", "права", "размер", "файл",
           "каталог", "сертификат", "ключ", "значение", "комментарий", "база", "ёлка",
           "служба", "правило"],
    "fr": ["nom", "adresse", "utilisateur", "paramètres", "courrier", "domaine",
           "serveur", "disque", "limite", "mot de passe", "propriétaire", "activé",
           "l'enregistrement", "sauvegarde", "planifié", "délai", "accès", "droits",
           "taille", "fichier", "répertoire", "certificat", "clé", "valeur",
           "commentaire", "base de données", "d'utilisateur", "règle", "créé"],
    "de": ["Name", "Adresse", "Benutzer", "Einstellungen", "Post", "Domäne", "Server",
           "Festplatte", "Grenze", "Passwort", "Eigentümer", "aktiviert", "Eintrag",
           "Sicherung", "Zeitplan", "Größe", "Zugriff", "Rechte", "Datei",
           "Verzeichnis", "Zertifikat", "Schlüssel", "Wert", "Kommentar",
           "Datenbank", "Dienst", "Regel", "Übersicht", "Straße"],
}
QUOTES = {"en": ('"', '"'), "ru": ("«", "»"), "fr": ("« ", " »"), "de": ("„", "“")}
SENTENCE_TAILS = {
    "en": ["Leave it empty to use the default value.", "Use %s for the current user.",
           "It can't be changed later.", "See the manual for details & examples."],
    "ru": ["Оставьте пустым, чтобы использовать значение по умолчанию.",
           "Используйте %s для текущего пользователя.", "Позже изменить нельзя.",
           "Подробности и примеры — в руководстве."],
    "fr": ["Laissez vide pour utiliser la valeur par défaut.",
           "Utilisez %s pour l'utilisateur courant.", "Il n'est plus modifiable ensuite.",
           "Voir le manuel pour les détails & exemples."],
    "de": ["Leer lassen, um den Standardwert zu verwenden.",
           "Verwenden Sie %s für den aktuellen Benutzer.", "Später nicht änderbar.",
           "Details & Beispiele im Handbuch."],
}


class Text:
    """Real-looking texts of one language."""

    def __init__(self, rng, lang):
        self.rng = rng
        self.lang = lang

    def words(self, count):
        words = [self.rng.choice(WORDS[self.lang]) for _ in range(count)]
        text = " ".join(words)
        return text[:1].upper() + text[1:]

    def label(self):
        text = self.words(1 + self.rng.below(3))
        if self.rng.chance(0.05):
            left, right = QUOTES[self.lang]
            text += " " + left + self.words(1) + right
        return text

    def hint(self):
        text = self.words(4 + self.rng.below(8)) + ". " + self.rng.choice(SENTENCE_TAILS[self.lang])
        if self.rng.chance(0.08):  # a long explanation
            text += " " + " ".join(self.words(8 + self.rng.below(10)) + "."
                                   for _ in range(3 + self.rng.below(5)))
        return text


def msg(name, text, cdata=False):
    if text is None:
        return None
    if cdata and text:
        return f'      <msg name="{name}"><![CDATA[{text}]]></msg>'
    return f'      <msg name="{name}">{escape(text)}</msg>'


class Catalog:
    """Decides, per message, what each language says."""

    def __init__(self, rng):
        self.rng = rng
        self.texts = {lang: Text(rng, lang) for lang in LANGS}

    def message(self, kind, never_written=False):
        """One message in every language: {lang: text, "" or None}."""
        result = {}
        for lang in LANGS:
            if never_written:
                result[lang] = None
            elif self.rng.chance(UNTRANSLATED[lang]):
                result[lang] = None if self.rng.chance(MISSING_SHARE) else ""
            else:
                text = self.texts[lang]
                result[lang] = text.hint() if kind == "hint" else text.label()
        return result


class Section:
    """A messages section: msgs and includes, the same in every language
    apart from the texts."""

    def __init__(self, name):
        self.name = name
        self.items = []  # ("msg", name, {lang: text}, cdata) or ("include", name)

    def add(self, name, texts, cdata=False):
        self.items.append(("msg", name, texts, cdata))

    def include(self, name):
        self.items.append(("include", name))

    def xml(self, lang):
        out = [f'    <messages name="{self.name}">']
        for item in self.items:
            if item[0] == "include":
                out.append(f'      <include name="{item[1]}"/>')
                continue
            line = msg(item[1], item[2][lang], item[3])
            if line is not None:
                out.append(line)
        out.append('    </messages>')
        return out


class Manager:
    def __init__(self, rng, name, objects, base, hostile=False):
        self.rng = rng
        self.nouns = HOSTILE_NOUNS + NOUNS if hostile else NOUNS
        self.field_names = HOSTILE_FIELDS + FIELD_NAMES if hostile else FIELD_NAMES
        self.column_names = HOSTILE_COLUMNS + COLUMN_NAMES if hostile else COLUMN_NAMES
        self.name = name
        self.catalog = self.new_catalog()
        self.main = []
        self.sections = []
        self.menu = []
        self.shared = []  # names of the shared sections, with the fields they describe
        self.base = base
        self.build(objects)

    def new_catalog(self):
        return Catalog(self.rng)

    # ---- shared sections ------------------------------------------------

    def build_shared(self, count):
        for i in range(count):
            name = f"{self.name}_shared{i}"
            section = Section(name)
            fields = []
            for _ in range(3 + self.rng.below(6)):
                field = self.rng.choice(self.field_names)
                if field in fields:
                    continue
                fields.append(field)
                section.add(field, self.catalog.message("label"))
                # The hints of a shared section are often kept in the section
                # it includes: the module sees one level of includes only,
                # the panel's checked files every level.
                if i > 0 and self.rng.chance(0.3):
                    continue
                section.add("hint_" + field, self.catalog.message("hint"))
            if i > 0 and self.rng.chance(0.4):
                section.include(self.shared[self.rng.below(i)][0])
            self.sections.append(section)
            self.shared.append((name, fields))

    # ---- forms ------------------------------------------------------------

    def field_xml(self, name, kind, indent):
        if kind == "text":
            check = "" if self.rng.chance(0.03) else f' check="{self.rng.choice(["int", "ip", "email", "any", "path"])}"'
            return f'{indent}<field name="{name}"><input type="text" name="{name}"{check}/></field>'
        if kind == "select":
            return f'{indent}<field name="{name}"><select name="{name}"/></field>'
        if kind == "domain":
            convert = "idna" if self.rng.chance(0.05) else "punycode"
            return (f'{indent}<field name="{name}"><input type="text" name="{name}" check="domain" '
                    f'convert="{convert}"/></field>')
        if kind == "checkbox":
            return (f'{indent}<field name="{name}"><input type="checkbox" name="{name}"/>'
                    f'<desc name="{name}_desc"/></field>')
        if kind == "textdata":
            return f'{indent}<field name="{name}"><textdata name="{name}_text" type="msg"/></field>'
        if kind == "hidden":
            return f'{indent}<field name="{name}"><input type="hidden" name="{name}"/></field>'
        if kind == "fullwidth":
            return f'{indent}<field name="{name}" fullwidth="yes"><textarea name="{name}"/></field>'
        raise ValueError(kind)

    def form(self, name, title=True):
        section = Section(name)
        if title:
            section.add("title", self.catalog.message("label"))
        includes = []
        if self.shared and self.rng.chance(0.5):
            includes.append(self.shared[self.rng.below(len(self.shared))])
            if self.rng.chance(0.3):
                includes.append(self.shared[self.rng.below(len(self.shared))])
        for shared_name, _ in includes:
            section.include(shared_name)
        if self.rng.chance(0.01):
            section.include(f"{name}_gone")  # a section nobody wrote
        shared_fields = [f for _, fields in includes for f in fields]

        out = [f'  <metadata name="{name}" type="form">', '    <form>']
        used = set()
        pages = 1 + self.rng.below(3)
        for page in range(pages):
            indent = '      ' if page == 0 else '        '
            if page > 0:
                out.append(f'      <page name="page{page}">')
                section.add(f"page{page}", self.catalog.message("label"))
            for _ in range(1 + self.rng.below(4)):
                roll = self.rng.random()
                if roll < 0.30:
                    kind = "checkbox"
                elif roll < 0.55:
                    kind = "text"
                elif roll < 0.62:
                    kind = "select"
                elif roll < 0.65:
                    kind = "domain"
                elif roll < 0.78:
                    kind = "textdata"
                elif roll < 0.88:
                    kind = "hidden"
                else:
                    kind = "fullwidth"
                pool = CHECKBOX_NAMES if kind == "checkbox" else self.field_names
                field = self.rng.choice(pool)
                if field in used:
                    field = f"{field}{len(used)}"
                used.add(field)
                out.append(self.field_xml(field, kind, indent))
                if kind == "checkbox":
                    section.add(f"{field}_desc", self.catalog.message("label"))
                    section.add(field, self.catalog.message("label"))
                elif kind == "textdata":
                    section.add(f"{field}_text", self.catalog.message("hint"))
                elif kind == "hidden":
                    pass
                elif field in shared_fields:
                    pass  # described by the included section
                else:
                    section.add(field, self.catalog.message("label"))
                    if kind != "fullwidth":
                        never = self.rng.chance(HINT_NEVER_WRITTEN)
                        section.add("hint_" + field, self.catalog.message("hint", never),
                                    cdata=self.rng.chance(0.03))
            if page > 0:
                out.append('      </page>')
        if self.rng.chance(0.05):
            section.add("orphan", self.catalog.message("label"))  # used by nothing
        out += ['    </form>', '  </metadata>']
        self.main += out
        self.sections.append(section)

    # ---- lists ------------------------------------------------------------

    def list(self, name, form_name):
        section = Section(name)
        section.add("title", self.catalog.message("label"))
        out = [f'  <metadata name="{name}" type="list">', '    <coldata>']
        used = set()
        for c in range(2 + self.rng.below(7)):
            col = self.rng.choice(self.column_names)
            if col in used:
                col = f"{col}{c}"
            used.add(col)
            if self.rng.chance(0.6):
                text_color = "magenta" if self.rng.chance(0.02) else self.rng.choice(
                    ["red", "green", "blue", "yellow", "cyan"])
                background = '' if self.rng.chance(0.02) else (
                    f'<setcolor name="{col}" color="{self.rng.choice(["green", "blue"])}"/>')
                out.append(f'      <col name="{col}" type="msg">{background}'
                           f'<setcolor color="{text_color}"/></col>')
            else:
                out.append(f'      <col name="{col}" type="data"><prop name="p_{col}"/></col>')
                section.add(f"hint_p_{col}", self.catalog.message("hint"))
            section.add(col, self.catalog.message("label"))
            if not self.rng.chance(0.1):  # column hints are often forgotten
                section.add(f"hint_{col}", self.catalog.message("hint"))
        out.append('    </coldata>')
        out.append('    <toolbar>')
        for button in BUTTONS:
            if button not in ("edit", "back") and self.rng.chance(0.4):
                continue
            func = f"{form_name}" if button in ("new", "edit") else f"{name}.{button}"
            if button == "back":
                func = self.base_list
            out.append(f'      <toolbtn name="{button}" func="{func}"/>')
            section.add(f"short_{button}", self.catalog.message("label"))
            section.add(f"hint_{button}", self.catalog.message("hint"))
        out += ['    </toolbar>', '  </metadata>']
        self.main += out
        self.sections.append(section)

    # ---- the whole manager ------------------------------------------------

    def build(self, objects):
        common = Section("common")
        for word in ("yes", "no", "ok", "cancel", "apply", "close", "default", "unlimited"):
            common.add(f"{self.name}_{word}" if self.base else word,
                       self.catalog.message("label"))
        self.sections.append(common)
        self.build_shared(max(2, objects // 60))

        lists = objects * 45 // 100
        forms = objects - lists
        self.base_list = f"{self.name}_home"
        made_forms = made_lists = 0
        index = 0
        while made_forms < forms or made_lists < lists:
            noun = self.nouns[index % len(self.nouns)]
            round_ = index // len(self.nouns)
            base = noun if round_ == 0 else f"{noun}{round_}"
            if self.base:
                base = f"kern_{base}"
            index += 1
            if made_lists < lists:
                self.list(base, f"{base}.edit")
                made_lists += 1
                self.menu.append(base)
            extra = 1 + self.rng.below(2)
            for k in range(extra):
                if made_forms >= forms:
                    break
                suffix = "edit" if k == 0 else self.rng.choice(FORM_SUFFIXES[1:])
                name = f"{base}.{suffix}"
                self.form(name, title=not self.rng.chance(0.02))
                made_forms += 1
                if k > 0 and self.rng.chance(0.3):
                    self.menu.append(name)

        desktop = Section("desktop")
        groups = max(2, len(self.menu) // 40)
        for g in range(groups):
            desktop.add(f"menu_{self.name}_group{g}", self.catalog.message("label"))
        for item in self.menu:
            desktop.add(f"menu_{item}", self.catalog.message("label"))
        self.sections.append(desktop)
        self.groups = groups

    def main_xml(self):
        out = ['<?xml version="1.0" encoding="UTF-8"?>', '<pnldata>', '  <mainmenu>']
        for g in range(self.groups):
            out.append(f'    <node name="{self.name}_group{g}">')
            for item in self.menu[g::self.groups]:
                out.append(f'      <node name="{item}"/>')
            out.append('    </node>')
        out.append('  </mainmenu>')
        out += self.main
        out.append('</pnldata>')
        return "\n".join(out) + "\n"

    def messages_xml(self, lang, written=None):
        """The message file of `lang`, whose lang element names it as
        `written` (default: `lang`)."""
        out = ['<?xml version="1.0" encoding="UTF-8"?>', '<pnldata>',
               f'  <lang name="{written or lang}">']
        for section in self.sections:
            out += section.xml(lang)
        out += ['  </lang>', '</pnldata>']
        return "\n".join(out) + "\n"


# ---- realistic catalogs -------------------------------------------------
#
# Catalogs that grew with the manager for years: much of what a form or a
# list shows has no message in any language (toolbar buttons and column
# hints above all), messages of fields, columns and buttons removed long ago
# stay behind, and translators reuse the same words ("Name", "Status",
# "Delete") all over the catalog. The figures below were fitted to a
# manager with real catalogs (see bench/run.sh --realistic).

# The share of a language's messages left untranslated.
REAL_UNTRANSLATED = {"en": 0.05, "de": 0.11, "fr": 0.21, "ru": 0.34}
# Of the untranslated messages, the share missing (the rest is empty).
REAL_MISSING_SHARE = 0.7
# Form field hints are kept better than the rest: their gaps are this
# share of the language's.
REAL_HINT_GAPS = 0.7
# The share of messages that take a stock text of their kind and name.
REAL_STOCK = {"label": 0.28, "hint": 0.06, "title": 0.06, "short": 0.5, "desc": 0.1}
# How many stock texts a kind and name have: translators did not always
# find the earlier one.
REAL_STOCK_VARIANTS = 5
# How often a form field's hint, a check box's description, a column's
# hint, a column's every message, a button's hint and a button's every
# message are in no language.
REAL_HINT_NEVER = 0.175
REAL_DESC_NEVER = 0.35
REAL_COLUMN_HINT_NEVER = 0.35
REAL_COLUMN_BARE = 0.1
REAL_BUTTON_HINT_NEVER = 0.5
REAL_BUTTON_BARE = 0.46
# The share of a form's text inputs with a placeholder message.
REAL_PLACEHOLDER = 0.95
# The mean number of messages of removed elements a form and a list keep.
REAL_FORM_STALE = 2
REAL_LIST_STALE = 4

REAL_BUTTONS = ["new", "edit", "delete", "enable", "disable", "filter", "export", "import",
                "refresh", "history", "copy", "move", "print", "stat", "back"]
REAL_FORM_KINDS = ((0.26, "checkbox"), (0.50, "text"), (0.58, "select"), (0.61, "domain"),
                   (0.71, "textdata"), (0.80, "hidden"), (1.00, "fullwidth"))


class RealisticText(Text):
    """Texts of one language that are new unless asked for a stock one."""

    def __init__(self, rng, lang, used):
        super().__init__(rng, lang)
        self.used = used

    def label(self):
        return self.words(1 + self.rng.below(3))

    def hint(self):
        text = self.words(4 + self.rng.below(6)) + "."
        if self.rng.chance(0.12):
            text += " " + self.rng.choice(SENTENCE_TAILS[self.lang])
        return text

    def fresh(self, kind):
        """A text no message of the language has had yet."""
        text = self.hint() if kind == "hint" else self.label()
        while text in self.used:
            text += " " + self.rng.choice(WORDS[self.lang])
        self.used.add(text)
        return text


class RealisticCatalog:
    """Decides, per message, what each language says: a stock text of the
    message's kind and key (the same wherever it stands), a new text, an
    empty one or none."""

    def __init__(self, rng):
        self.rng = rng
        self.texts = {lang: RealisticText(rng, lang, set()) for lang in LANGS}
        self.stock = {}

    def stock_text(self, kind, key):
        if (kind, key) not in self.stock:
            self.stock[(kind, key)] = {lang: self.texts[lang].fresh(kind) for lang in LANGS}
        return self.stock[(kind, key)]

    def message(self, kind, key=None, never_written=False, gaps=1.0):
        """One message in every language: {lang: text, "" or None}. `kind`
        is label, hint, title, short or desc; `key` names the stock text."""
        if never_written:
            return {lang: None for lang in LANGS}
        stock = None
        if key is not None and self.rng.chance(REAL_STOCK[kind]):
            stock = self.stock_text(kind, (key, self.rng.below(REAL_STOCK_VARIANTS)))
        result = {}
        for lang in LANGS:
            if self.rng.chance(REAL_UNTRANSLATED[lang] * gaps):
                result[lang] = None if self.rng.chance(REAL_MISSING_SHARE) else ""
            elif stock is not None:
                result[lang] = stock[lang]
            else:
                result[lang] = self.texts[lang].fresh("hint" if kind == "hint" else "label")
        return result


class RealisticManager(Manager):
    """A manager whose catalogs look like real grown ones: see the figures
    above."""

    def __init__(self, rng, name, objects, base, hostile=False):
        self.stale_names = FIELD_NAMES + CHECKBOX_NAMES
        super().__init__(rng, name, objects, base, hostile)

    def new_catalog(self):
        return RealisticCatalog(self.rng)

    def build_shared(self, count):
        for i in range(count):
            name = f"{self.name}_shared{i}"
            section = Section(name)
            fields = []
            for _ in range(3 + self.rng.below(6)):
                field = self.rng.choice(self.field_names)
                if field in fields:
                    continue
                fields.append(field)
                section.add(field, self.catalog.message("label", field))
                section.add("hint_" + field, self.catalog.message("hint", field, gaps=REAL_HINT_GAPS))
            self.sections.append(section)
            self.shared.append((name, fields))

    def stale(self, section, taken, count, prefixes):
        """Adds `count` messages of elements the object no longer has."""
        for _ in range(count):
            old = self.rng.choice(self.stale_names)
            if old in taken:
                old = "old" + old
            if old in taken:
                continue
            taken.add(old)
            prefix = self.rng.choice(prefixes)
            kind = "hint" if prefix == "hint_" else ("short" if prefix == "short_" else "label")
            section.add(prefix + old, self.catalog.message(kind, old))

    def form(self, name, title=True):
        section = Section(name)
        if title:
            section.add("title", self.catalog.message("title", "title"))
        includes = []
        if self.shared and self.rng.chance(0.3):
            includes.append(self.shared[self.rng.below(len(self.shared))])
        for shared_name, _ in includes:
            section.include(shared_name)
        shared_fields = [f for _, fields in includes for f in fields]

        out = [f'  <metadata name="{name}" type="form">', '    <form>']
        used = set()
        pages = 1 + self.rng.below(3)
        for page in range(pages):
            indent = '      ' if page == 0 else '        '
            if page > 0:
                out.append(f'      <page name="page{page}">')
                section.add(f"page{page}", self.catalog.message("label", f"page{page}"))
            for _ in range(2 + self.rng.below(4)):
                roll = self.rng.random()
                kind = next(k for limit, k in REAL_FORM_KINDS if roll < limit)
                pool = CHECKBOX_NAMES if kind == "checkbox" else self.field_names
                field = self.rng.choice(pool)
                if field in used:
                    field = f"{field}{len(used)}"
                used.add(field)
                out.append(self.field_xml(field, kind, indent))
                if kind == "checkbox":
                    section.add(field, self.catalog.message("label", field))
                    section.add(f"{field}_desc", self.catalog.message(
                        "desc", field, never_written=self.rng.chance(REAL_DESC_NEVER)))
                elif kind == "textdata":
                    section.add(f"{field}_text", self.catalog.message("hint"))
                elif kind == "hidden":
                    pass
                elif field in shared_fields:
                    pass
                else:
                    section.add(field, self.catalog.message("label", field))
                    if kind != "fullwidth":
                        never = self.rng.chance(REAL_HINT_NEVER)
                        section.add("hint_" + field,
                                    self.catalog.message("hint", field, never, REAL_HINT_GAPS),
                                    cdata=self.rng.chance(0.03))
                        if self.rng.chance(REAL_PLACEHOLDER):
                            section.add("placeholder_" + field,
                                        self.catalog.message("label", "placeholder"))
            if page > 0:
                out.append('      </page>')
        self.stale(section, used, self.rng.below(2 * REAL_FORM_STALE + 1), ("", "hint_"))
        out += ['    </form>', '  </metadata>']
        self.main += out
        self.sections.append(section)

    def list(self, name, form_name):
        section = Section(name)
        section.add("title", self.catalog.message("title", "title"))
        out = [f'  <metadata name="{name}" type="list">', '    <coldata>']
        used = set()
        for c in range(3 + self.rng.below(8)):
            col = self.rng.choice(self.column_names)
            if col in used:
                col = f"{col}{c}"
            used.add(col)
            if self.rng.chance(0.6):
                text_color = "magenta" if self.rng.chance(0.02) else self.rng.choice(
                    ["red", "green", "blue", "yellow", "cyan"])
                background = '' if self.rng.chance(0.05) else (
                    f'<setcolor name="{col}" color="{self.rng.choice(["green", "blue"])}"/>')
                out.append(f'      <col name="{col}" type="msg">{background}'
                           f'<setcolor color="{text_color}"/></col>')
            else:
                out.append(f'      <col name="{col}" type="data"><prop name="{col}"/></col>')
                if self.rng.chance(0.6):
                    section.add(f"hint_p_{col}", self.catalog.message("hint"))
            bare = self.rng.chance(REAL_COLUMN_BARE)
            section.add(col, self.catalog.message("label", col, never_written=bare))
            never = bare or self.rng.chance(REAL_COLUMN_HINT_NEVER)
            section.add(f"hint_{col}", self.catalog.message("hint", col, never_written=never))
        out.append('    </coldata>')
        out.append('    <toolbar>')
        for button in REAL_BUTTONS:
            if button not in ("edit", "back") and self.rng.chance(0.35):
                continue
            func = f"{form_name}" if button in ("new", "edit") else f"{name}.{button}"
            if button == "back":
                func = self.base_list
            out.append(f'      <toolbtn name="{button}" func="{func}"/>')
            bare = self.rng.chance(REAL_BUTTON_BARE)
            section.add(f"short_{button}", self.catalog.message("short", button, bare))
            never = bare or self.rng.chance(REAL_BUTTON_HINT_NEVER)
            section.add(f"hint_{button}", self.catalog.message("hint", button, never))
            if button in ("delete", "disable", "move") and not bare:
                # The question asked before the button's function runs.
                section.add(f"msg_confirm_{func.replace('.', '_')}",
                            self.catalog.message("label", "confirm_" + button))
        self.stale(section, used, self.rng.below(2 * REAL_LIST_STALE + 1), ("", "hint_", "short_"))
        out += ['    </toolbar>', '  </metadata>']
        self.main += out
        self.sections.append(section)


def write(path, text):
    with open(path, "w", encoding="utf-8", newline="\n") as f:
        f.write(text)


def main():
    args = sys.argv[1:]
    hostile = "--hostile" in args
    realistic = "--realistic" in args
    args = [a for a in args if a not in ("--hostile", "--realistic")]
    if len(args) not in (3, 4):
        sys.exit(__doc__)
    root, name, objects = args[0], args[1], int(args[2])
    seed = int(args[3]) if len(args) == 4 else 1
    if name == "kern" or objects < 1:
        sys.exit("make_manager.py: NAME must not be kern and OBJECTS at least 1")
    xml_dir = os.path.join(root, "etc", "xml")
    os.makedirs(xml_dir, exist_ok=True)
    rng = Rng(seed)
    make = RealisticManager if realistic else Manager
    kern = make(rng, "kern", max(10, objects // 20), base=True)
    manager = make(rng, name, objects, base=False, hostile=hostile)
    for m in (kern, manager):
        write(os.path.join(xml_dir, f"{m.name}.xml"), m.main_xml())
        for lang in LANGS:
            write(os.path.join(xml_dir, f"{m.name}_msg_{lang}.xml"), m.messages_xml(lang))
        if hostile:
            for lang, written, words in HOSTILE_LANGS:
                write(os.path.join(xml_dir, f"{m.name}_msg_{lang}.xml"),
                      m.messages_xml(words, written))


if __name__ == "__main__":
    main()
