from quillmarsh.simulator_engine._graph_helpers import extract_feature_leaf_names
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node


def test_feature_leaves_unique_in_preorder():
    graph = Node("rotation", "numerical_combine_d65e04", [
        Node("rotation", "latitudinal_rank_688068", [Node("feature", "volume")]),
        Node("rotation", "longitudinal_accumulators_25c7fb", [
            Node("aggregation", "sector_close"), Node("int", 20), Node("feature", "volume")]),
        Node("feature", "close", None),
    ])
    assert extract_feature_leaf_names(graph) == ["volume", "sector_close", "close"]

