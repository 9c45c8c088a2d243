"""References in XML, by element and attribute."""

import markup

ON_CHILDREN = 0x40


def texts(data, by_element, _ignored):
    """The texts that a file refers by, each as written, as read and with its mask."""
    open_rules = []  # of the elements around
    for depth, name, attributes in markup.elements(data):
        rules = by_element.get(_pattern_of(name), [])
        above = open_rules[depth - 1] if depth else []
        governing = [rule for rule in above if rule[1] & ON_CHILDREN]
        governing += [rule for rule in rules if not rule[1] & ON_CHILDREN]
        for attribute, mask in governing:
            if attributes.get(attribute):
                yield attributes[attribute], attributes[attribute], mask
        open_rules[depth:] = [rules]


def _pattern_of(element):
    """Layer_7 is governed by the rules for Layer_*, Tex3 by those for Tex*."""
    stem = element.rstrip("0123456789")
    return stem + "*" if stem and (stem != element or stem.endswith("_")) else element
