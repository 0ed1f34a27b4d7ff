"""The difference of two states, in an order that never leaves a dangling reference to a group."""
from __future__ import annotations

from collections.abc import Iterator
from dataclasses import dataclass, field

from .state import KINDS, Item, State, key_text

# Groups are deleted last, after everything that points at them.
DELETE_ORDER = (*KINDS[1:], KINDS[0])


@dataclass(frozen=True, slots=True)
class Change:
    """`before` is None for a new item, `after` is None for a deleted one."""

    kind: str
    before: Item | None
    after: Item | None

    @property
    def item(self) -> Item:
        item = self.after or self.before
        assert item is not None
        return item

    def __str__(self) -> str:
        name = f"{self.kind[:-1]} {key_text(self.item.key)}"
        if self.before is None:
            return f"+ {name}: {self.after}"
        if self.after is None:
            return f"- {name}: {self.before}"
        return f"~ {name}: {self.before} => {self.after}"


@dataclass(slots=True)
class Diff:
    sets: dict[str, list[Change]] = field(default_factory=dict)
    deletes: dict[str, list[Change]] = field(default_factory=dict)

    def __len__(self) -> int:
        return sum(map(len, self.sets.values())) + sum(map(len, self.deletes.values()))

    def __iter__(self) -> Iterator[Change]:
        for _, changes in self.steps():
            yield from changes

    def steps(self) -> Iterator[tuple[str, list[Change]]]:
        """The changes of one kind at a time: first the sets, then the deletes."""
        for kind in KINDS:
            if self.sets.get(kind):
                yield kind, self.sets[kind]
        for kind in DELETE_ORDER:
            if self.deletes.get(kind):
                yield kind, self.deletes[kind]


def difference(before: State, after: State) -> Diff:
    """The changes that turn `before` into `after`."""
    diff = Diff()
    for kind in KINDS:
        old, new = before.tables[kind], after.tables[kind]
        diff.sets[kind] = [Change(kind, old.get(key), item) for key, item in new.items() if old.get(key) != item]
        diff.deletes[kind] = [Change(kind, item, None) for key, item in old.items() if key not in new]
    return diff


def replay(state: State) -> Diff:
    """Sets everything, whether it already exists or not."""
    return difference(State(state.config), state)
