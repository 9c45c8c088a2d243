"""The rules of the two families whose formats are data."""

import json


class Members(list):
    """A JSON object as its (name, value) pairs: rules go by the order of members."""


def load_rules(path, rule_of):
    """Extension -> (rules by element or member, companion rules, ignored member names)."""
    with open(path, encoding="utf-8") as file:
        config = json.load(file, object_pairs_hook=Members)
    generators = {}
    for extension, body in config:
        if extension:
            generators.setdefault(extension, _rules_of(body, rule_of))
    return generators


def xml_rule(_, attribute, mask):
    return attribute[1], mask[1]


def json_rule(_, second, third=None):
    """A path table is a rule of bit 0x200 without an extra text."""
    return (second[1], third[1]) if second[0] == "extra" else ("", second[1])


def _rules_of(body, rule_of):
    by_name, ignored = {}, set()
    for name, value in _members_below(body):
        if name == "name_list":
            for rule in value:
                by_name.setdefault(rule[0][1], []).append(rule_of(*rule[:3]))
        elif name == "ignore":
            ignored.update(value)
    return by_name, by_name.pop("", []), ignored


def _members_below(value):
    if isinstance(value, Members):
        for name, member in value:
            yield name, member
            yield from _members_below(member)
    elif isinstance(value, list):
        for element in value:
            yield from _members_below(element)
