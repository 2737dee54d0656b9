"""Runs the cases of ./bench and puts their figures into tables."""
