"""The reference of the Python package, by Sphinx."""

project = "tnk"
copyright = "2026, the tnk authors"
extensions = ["sphinx.ext.autodoc", "numpydoc"]
autodoc_member_order = "bysource"
autodoc_type_aliases = {"ArrayLike": "ArrayLike"}  # not all that it stands for
numpydoc_show_class_members = False
html_theme = "alabaster"
html_show_sourcelink = False
