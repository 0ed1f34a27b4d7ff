"""The difference of two states, as steps in an order that never leaves anything pointing at nothing."""
from __future__ import annotations

from collections.abc import Iterator
from dataclasses import dataclass, field

from .state import KINDS, Item, State, key_text

# Groups go last, behind everything that points at them.
DELETE_ORDER = (*KINDS[1:], KINDS[0])


@dataclass(frozen=True, slots=True)
class Change:
    """`before` is None for something new, `after` is None for something that goes."""

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
        """The changes of one kind at a time: first what is set, then what goes."""
        for kind in KINDS:
            if self.sets.get(kind):
                yield kind, self.sets[kind]
        for kind in DELETE_ORDER:
            if self.deletes.get(kind):
                yield kind, self.deletes[kind]


def difference(before: State, after: State) -> Diff:
    """What makes `before` into `after`."""
    diff = Diff()
    for kind in KINDS:
        old, new = before.tables[kind], after.tables[kind]
        diff.sets[kind] = [Change(kind, old.get(key), item) for key, item in new.items() if old.get(key) != item]
        diff.deletes[kind] = [Change(kind, item, None) for key, item in old.items() if key not in new]
    return diff


def replay(state: State) -> Diff:
    """Everything, whether it is there already or not."""
    return difference(State(state.config), state)
