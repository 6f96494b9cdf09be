"""How gdb shows the objects of libzvc: `print`, `info locals` and an editor's variables view.

gdb loads this file by itself together with the library (see `info auto-load`). It reads memory alone and calls nothing in
the program, so that it works on a crash dump as well. `print $zv(handle)` shows the whole object behind a handle, as the
class that it really is.
"""
import re

import gdb
import gdb.printing


def is_handle(tag):
    return tag.endswith("$") or tag.startswith("ZvHandle<")


def handle_member(type):
    """The name of the pointer in a handle class, or None."""
    type = type.strip_typedefs()
    while type.code == gdb.TYPE_CODE_STRUCT:
        if type.name in ("ZvObject$", "ZvInterface$"):
            return "m_object" if type.name == "ZvObject$" else "m_interface"
        fields = type.fields()
        if not fields or not fields[0].is_base_class:
            return None
        type = fields[0].type
    return None


def real_class(pointer):
    """The name of the class that an object really is of, by its table of virtual operations."""
    table = pointer.cast(gdb.lookup_type("void").pointer().pointer()).dereference()
    symbol = re.search("<vtable for (.*)\\+", table.format_string(symbols=True))
    return symbol.group(1) if symbol else pointer.type.target().strip_typedefs().name


def top(pointer):
    """The start of the object that a pointer leads into, by the offset that stands ahead of the table of virtual operations."""
    table = pointer.cast(gdb.lookup_type("long").pointer().pointer()).dereference()
    start = pointer.cast(gdb.lookup_type("char").pointer()) + int((table - 2).dereference())
    return start.cast(gdb.lookup_type("ZvObject").pointer())


def whole(pointer):
    """The pointer to an object as one to the class that it really is; to ZvObject where the debugger does not know that class."""
    try:
        gdb.lookup_type(real_class(pointer))           # looking at the object itself makes gdb complain of such a class
        return pointer.cast(pointer.dynamic_type)
    except gdb.error:
        return top(pointer)


def target(handle):
    """What a handle points to, as its real class; None for null."""
    pointer = handle[handle_member(handle.type)]
    return whole(pointer) if int(pointer) != 0 else None


def text_of(string):
    """The text of a ZvString in quotes, cut where gdb cuts strings."""
    return string["m_buffer"].format_string(format="s", address=False)


def plain_text_of(string):
    return string["m_buffer"].string(errors="replace")


def owners(pointer):
    """How many handles hold an object; read without a look at the object as a whole, see above."""
    offset = next(f.bitpos // 8 for f in gdb.lookup_type("ZvObject").fields() if f.name == "m_ref_count")
    count = int((pointer.cast(gdb.lookup_type("char").pointer()) + offset).cast(gdb.lookup_type("int").pointer()).dereference())
    return "(1 owner)" if count == 1 else "(%d owners)" % count


def class_of(value):
    return real_class(value.address) if value.address is not None else value.type.strip_typedefs().name


def summary(value):
    """The text of a value: that of its printer, or gdb's own."""
    printer = printer_of(value)
    return printer.to_string() if printer else value.format_string()


class HandlePrinter:
    """null; or the object's own form; or, of a class without one, its name and where it stands."""

    def __init__(self, value):
        self.pointer = target(value)
        known = self.pointer is not None and has_printer(self.pointer.type.target())
        self.inner = printer_of(self.pointer.dereference()) if known else None

    def to_string(self):
        if self.pointer is None:
            return "null"
        head = self.inner.to_string() if self.inner else real_class(self.pointer)
        return "%s %s" % (head, owners(self.pointer))

    def children(self):
        if self.pointer is None:
            return
        if self.inner is None:
            yield "object", self.pointer
        elif hasattr(self.inner, "children"):
            yield from self.inner.children()

    def display_hint(self):
        return getattr(self.inner, "display_hint", lambda: None)()


class StringPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return text_of(self.value)


class ColorPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return self.value.format_string(raw=True, static_members=False)


class TypePrinter:
    """The class's name, and the module and the version that its files tell of it."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        name = target(self.value["m_name"])
        if name is None:
            return "ZvType without a name"
        text = "ZvType " + plain_text_of(name.dereference())
        module = self.value["m_module"]
        if int(module) != 0:
            text += " of " + module["name"].string(errors="replace")
        return text + ", schema 0x%x" % int(self.value["m_schema"])


class BoxPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "%s %s" % (class_of(self.value), self.text())

    def text(self):
        value = self.value["value"]
        type = value.type.strip_typedefs()
        if handle_member(type):
            return "-> " + summary(value)
        if type.code == gdb.TYPE_CODE_PTR:
            return "-> " + (summary(whole(value).dereference()) if int(value) else "null")
        return value.format_string()


class SequencePrinter:
    """What holds elements in a row: a name, a count and the elements."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "%s of %d" % (class_of(self.value), self.count())

    def children(self):
        for index, element in enumerate(self.elements()):
            yield "[%d]" % index, element

    def display_hint(self):
        return "array"


class ArrayPrinter(SequencePrinter):
    def count(self):
        return int(self.value["count"])

    def elements(self):
        return ((self.value["data"] + i).dereference() for i in range(self.count()))


class VectorPrinter(SequencePrinter):
    def count(self):
        return int(self.value["last"] - self.value["first"])

    def elements(self):
        return ((self.value["first"] + i).dereference() for i in range(self.count()))

    def to_string(self):
        return "%s, capacity %d" % (super().to_string(), int(self.value["end"] - self.value["first"]))


class ListPrinter(SequencePrinter):
    """A std::vector as the member that it is told of."""
    member = "m_items"

    def count(self):
        vector = self.value[self.member]["_M_impl"]
        return int(vector["_M_finish"] - vector["_M_start"])

    def elements(self):
        start = self.value[self.member]["_M_impl"]["_M_start"]
        return ((start + i).dereference() for i in range(self.count()))


class DataPrinter(ListPrinter):
    member = "m_bytes"


class EnumPrinter(ListPrinter):
    member = "m_candidates"

    def to_string(self):
        return "%s, selection %d" % (super().to_string(), int(self.value["m_selection"]))


class DequePrinter(SequencePrinter):
    """A std::deque: a map of blocks of equal size."""

    def __init__(self, value):
        super().__init__(value)
        self.deque = value["m_items"]["_M_impl"]

    def block_length(self):
        size = self.deque["_M_start"]["_M_cur"].type.target().sizeof
        return 512 // size if size < 512 else 1

    def count(self):
        start, finish = self.deque["_M_start"], self.deque["_M_finish"]
        if int(finish["_M_node"]) == 0:
            return 0
        blocks = int(finish["_M_node"] - start["_M_node"]) - 1
        return blocks * self.block_length() + int(finish["_M_cur"] - finish["_M_first"]) + int(start["_M_last"] - start["_M_cur"])

    def elements(self):
        start = self.deque["_M_start"]
        offset, length = int(start["_M_cur"] - start["_M_first"]), self.block_length()
        for i in range(offset, offset + self.count()):
            yield ((start["_M_node"] + i // length).dereference() + i % length).dereference()


def table_nodes(table):
    """The nodes of a hash table, in the order of enumeration."""
    node = gdb.lookup_type("zvc::detail::HashTable::Node").pointer()
    end = table["m_end"].address
    link = table["m_end"]["next"]
    for _ in range(int(table["m_count"])):
        if int(link) == int(end):
            return
        yield link.cast(node).dereference()
        link = link["next"]


class SetPrinter(SequencePrinter):
    def count(self):
        return int(self.value["m_table"]["m_count"])

    def elements(self):
        return (node["key"] for node in table_nodes(self.value["m_table"]))


class DictionaryPrinter(SetPrinter):
    """Keys and values in turn, which gdb shows in pairs."""

    def elements(self):
        for node in table_nodes(self.value["m_table"]):
            yield node["key"]
            yield node["value"]

    def display_hint(self):
        return "map"


class InfoPrinter(DictionaryPrinter):
    """The bag of named values holds a dictionary."""

    def __init__(self, value):
        super().__init__(value)
        self.name = class_of(value)
        self.value = value["m_values"]

    def to_string(self):
        return "%s of %d" % (self.name, self.count())


class DateTimePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        part = lambda name: int(self.value["m_" + name])
        text = "%s %04d-%02d-%02d %02d:%02d:%s zone %d" % (
            class_of(self.value), part("year"), part("month"), part("day"), part("hour"), part("minute"),
            self.value["m_second"].format_string(), part("zone"))
        return text + (", daylight-saving" if part("dst") else "")


class PairPrinter:
    members = ("m_first", "m_second")

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return class_of(self.value)

    def children(self):
        for member in self.members:
            yield member[2:], self.value[member]


class EntryPrinter(PairPrinter):
    members = ("m_key", "m_value")


PLAIN = {
    "ZvString": StringPrinter,
    "zvcolor": ColorPrinter,
    "ZvType": TypePrinter,
    "ZvArrayList": ListPrinter,
    "ZvQueue": DequePrinter,
    "ZvStack": DequePrinter,
    "ZvDictionary": DictionaryPrinter,
    "ZvHashSet": SetPrinter,
    "ZvSerializationInfo": InfoPrinter,
    "ZvPair": PairPrinter,
    "ZvDictionaryEntry": EntryPrinter,
    "ZvEnum": EnumPrinter,
    "ZvData": DataPrinter,
    "ZvDateTime": DateTimePrinter,
}
TEMPLATES = {
    "ZvPrimitive": BoxPrinter,
    "ZvPrimArray": ArrayPrinter,
    "ZvSharePrimArray": ArrayPrinter,
    "ZvVector": VectorPrinter,
}


def has_printer(type):
    return type.name in PLAIN or (type.name or "").split("<", 1)[0] in TEMPLATES


def printer_of(value):
    """What shows a value of one of the library's classes; None for any other."""
    type = value.type.strip_typedefs().unqualified()
    if type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
        return printer_of(value.referenced_value())
    if type.code != gdb.TYPE_CODE_STRUCT or type.name is None:
        return None
    if is_handle(type.name):
        return HandlePrinter(value) if handle_member(type) else None
    printer = PLAIN.get(type.name) or TEMPLATES.get(type.name.split("<", 1)[0])
    return printer(value) if printer else None


class Printers(gdb.printing.PrettyPrinter):
    def __init__(self):
        super().__init__("libzvc")

    def __call__(self, value):
        return printer_of(value)


class WholeObject(gdb.Function):
    """$zv(handle): the object behind a handle, or behind a pointer, as the class that it really is, field by field."""

    def __init__(self):
        super().__init__("zv")

    def invoke(self, value):
        if value.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
        if value.type.strip_typedefs().code == gdb.TYPE_CODE_PTR:
            return whole(value).dereference()
        if handle_member(value.type) is None:
            raise gdb.GdbError("$zv takes a handle or a pointer to an object.")
        pointer = target(value)
        if pointer is None:
            raise gdb.GdbError("The handle is null.")
        return pointer.dereference()


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)
WholeObject()
